#pragma once
// Versioned binary archives over QDataStream.
//
// Byte layout (integers and doubles in the stream's byte order, big-endian by
// default as QDataStream writes them):
//  - saveVersion(v): quint32 v.
//  - strings: QDataStream's QString form (quint32 byte length, 0xFFFFFFFF for
//    a null string, then UTF-16 code units).
//  - counts: quint32; doubles: 8-byte IEEE 754, whatever the stream's
//    floating-point precision (see StreamIo.h).
//  - TrackingOutputArchive::saveSerializable(obj), first time obj is written:
//      QString  class tag (obj.className(), never null or empty)
//      quint32  obj.classVersion()
//      ...      the bytes obj.save() writes (nested objects inline)
//    and every later time the same object (same address) is written through
//    the same tracking archive:
//      QString  null (the four bytes FF FF FF FF)
//      quint32  index of the object, counted from 0 in the order in which
//               objects were first written (an object takes its index
//               before its nested objects take theirs)
// A reader that meets an unknown class, a short read or an impossible value
// (a count larger than the bytes left, an index of an object not yet read,
// nesting deeper than TrackingInputArchive::maxDepth) throws
// serialization::Error.

#include "platform/serialization/SerializationExport.h"

#include <QDataStream>
#include <QString>
#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <vector>

namespace tessera::serialization {

class TESSERA_SERIALIZATION_EXPORT Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class TESSERA_SERIALIZATION_EXPORT OutputArchive {
public:
    virtual ~OutputArchive() = default;
    virtual QDataStream& stream() = 0;
    void saveVersion(quint32 version) { stream() << version; }
};

class TESSERA_SERIALIZATION_EXPORT InputArchive {
public:
    virtual ~InputArchive() = default;
    virtual QDataStream& stream() = 0;
    // Throws Error on a short read.
    quint32 loadVersion();
};

class TESSERA_SERIALIZATION_EXPORT BinaryOutputArchive : public OutputArchive {
public:
    explicit BinaryOutputArchive(QDataStream& stream) : s(stream) {}
    QDataStream& stream() override { return s; }
private:
    QDataStream& s;
};

class TESSERA_SERIALIZATION_EXPORT BinaryInputArchive : public InputArchive {
public:
    explicit BinaryInputArchive(QDataStream& stream) : s(stream) {}
    QDataStream& stream() override { return s; }
private:
    QDataStream& s;
};

class Serializable;

// Serialisable polymorphic objects register a loader under their class name.
// A name is registered once: a second add() for it is ignored, so that a
// Loader found by find() stays valid and unchanged for the process lifetime.
// Safe to use from several threads.
class TESSERA_SERIALIZATION_EXPORT SerializableRegistry {
public:
    using Loader = std::function<std::shared_ptr<Serializable>(class TrackingInputArchive&, quint32 version)>;
    static SerializableRegistry& instance();
    void add(const QString& className, Loader loader);
    const Loader* find(const QString& className) const;
private:
    SerializableRegistry() = default;
    struct Private;
    std::shared_ptr<Private> d;
};

class TESSERA_SERIALIZATION_EXPORT Serializable {
public:
    virtual ~Serializable() = default;
    virtual QString className() const = 0;
    virtual quint32 classVersion() const { return 0; }
    virtual void save(class TrackingOutputArchive& archive) const = 0;
};

// Objects are recognised by address: every object written through one
// tracking archive must stay alive until the archive is done.
class TESSERA_SERIALIZATION_EXPORT TrackingOutputArchive {
public:
    explicit TrackingOutputArchive(OutputArchive& archive);
    ~TrackingOutputArchive();
    QDataStream& stream() { return a.stream(); }
    OutputArchive& archive() { return a; }
    // Throws Error when objects nest deeper than TrackingInputArchive::maxDepth
    // (such bytes could not be read back).
    void saveSerializable(const Serializable& object);
    // Writes the object in full even when it was written before (the form
    // that TrackingInputArchive::loadUnsharedSerializable reads).
    void saveUnsharedSerializable(const Serializable& object);
private:
    void write(const Serializable& object);

    OutputArchive& a;
    std::unordered_map<const Serializable*, quint32> seen;
    quint32 written = 0;
    int depth = 0;
};

class TESSERA_SERIALIZATION_EXPORT TrackingInputArchive {
public:
    explicit TrackingInputArchive(InputArchive& archive);
    ~TrackingInputArchive();
    QDataStream& stream() { return a.stream(); }
    InputArchive& archive() { return a; }
    // Throws Error for unknown classes and malformed bytes.
    std::shared_ptr<Serializable> loadSerializable();
    // The same for objects that are never shared: a reference to an earlier
    // object throws too (a few bytes of references could otherwise expand
    // exponentially).
    std::shared_ptr<Serializable> loadUnsharedSerializable();
    // Nesting guard: objects inside objects deeper than this are rejected.
    static constexpr int maxDepth = 64;
private:
    std::shared_ptr<Serializable> load(bool allowReference);

    InputArchive& a;
    std::vector<std::shared_ptr<Serializable>> seen;
    int depth = 0;
};

// Checks the stream after reads; throws Error when a read ran short.
TESSERA_SERIALIZATION_EXPORT void checkStream(QDataStream& stream);

} // namespace tessera::serialization
