#pragma once
// Versioned binary archives over QDataStream.
//
// Byte layout (all integers big-endian, QDataStream's default):
//  - saveVersion(v): quint32 v.
//  - strings: QDataStream's QString form (quint32 byte length, then UTF-16).
//  - TrackingOutputArchive::saveSerializable(obj): a class tag (QString, the
//    object's className()), the object's version (quint32), then the bytes the
//    object writes in save(). Objects written through the same tracking archive
//    more than once are written once and referred to by index afterwards.
// A reader that meets an unknown class, a short read or an impossible value
// throws serialization::Error.

#include <QDataStream>
#include <QString>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tessera::serialization {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class OutputArchive {
public:
    virtual ~OutputArchive() = default;
    virtual QDataStream& stream() = 0;
    void saveVersion(quint32 version) { stream() << version; }
};

class InputArchive {
public:
    virtual ~InputArchive() = default;
    virtual QDataStream& stream() = 0;
    // Throws Error on a short read.
    quint32 loadVersion();
};

class BinaryOutputArchive : public OutputArchive {
public:
    explicit BinaryOutputArchive(QDataStream& stream) : s(stream) {}
    QDataStream& stream() override { return s; }
private:
    QDataStream& s;
};

class BinaryInputArchive : public InputArchive {
public:
    explicit BinaryInputArchive(QDataStream& stream) : s(stream) {}
    QDataStream& stream() override { return s; }
private:
    QDataStream& s;
};

class Serializable;

// Serialisable polymorphic objects register a loader under their class name.
class SerializableRegistry {
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

class Serializable {
public:
    virtual ~Serializable() = default;
    virtual QString className() const = 0;
    virtual quint32 classVersion() const { return 0; }
    virtual void save(class TrackingOutputArchive& archive) const = 0;
};

class TrackingOutputArchive {
public:
    explicit TrackingOutputArchive(OutputArchive& archive);
    ~TrackingOutputArchive();
    QDataStream& stream() { return a.stream(); }
    OutputArchive& archive() { return a; }
    void saveSerializable(const Serializable& object);
private:
    OutputArchive& a;
    std::vector<const Serializable*> seen;
};

class TrackingInputArchive {
public:
    explicit TrackingInputArchive(InputArchive& archive);
    ~TrackingInputArchive();
    QDataStream& stream() { return a.stream(); }
    InputArchive& archive() { return a; }
    // Throws Error for unknown classes and malformed bytes.
    std::shared_ptr<Serializable> loadSerializable();
    // Nesting guard: objects inside objects deeper than this are rejected.
    static constexpr int maxDepth = 64;
private:
    InputArchive& a;
    std::vector<std::shared_ptr<Serializable>> seen;
    int depth = 0;
};

// Checks the stream after reads; throws Error when a read ran short.
void checkStream(QDataStream& stream);

} // namespace tessera::serialization
