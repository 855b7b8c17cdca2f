#include "platform/serialization/Archive.h"
#include "platform/serialization/StreamIo.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <cmath>
#include <vector>

using namespace tessera::serialization;

namespace {

// A leaf with a number and a text, and a node holding other objects: enough
// to exercise class tags, versions, nesting and shared references.
class Leaf : public Serializable {
public:
    Leaf(double value, QString label) : value(value), label(std::move(label)) {}
    QString className() const override { return QStringLiteral("test.Leaf"); }
    quint32 classVersion() const override { return 2; }
    void save(TrackingOutputArchive& archive) const override
    {
        writeDouble(archive.stream(), value);
        archive.stream() << label;
    }
    static std::shared_ptr<Serializable> load(TrackingInputArchive& archive, quint32 version)
    {
        if (version != 2)
            throw Error("bad Leaf version");
        const double value = readDouble(archive.stream());
        return std::make_shared<Leaf>(value, readString(archive.stream()));
    }
    double value;
    QString label;
};

class Node : public Serializable {
public:
    QString className() const override { return QStringLiteral("test.Node"); }
    void save(TrackingOutputArchive& archive) const override
    {
        archive.stream() << quint32(children.size());
        for (const auto& child : children)
            archive.saveSerializable(*child);
    }
    static std::shared_ptr<Serializable> load(TrackingInputArchive& archive, quint32)
    {
        auto node = std::make_shared<Node>();
        const quint32 count = readCount(archive.stream(), 8);
        for (quint32 i = 0; i < count; ++i)
            node->children.push_back(archive.loadSerializable());
        return node;
    }
    std::vector<std::shared_ptr<Serializable>> children;
};

void registerTestClasses()
{
    SerializableRegistry::instance().add(QStringLiteral("test.Leaf"), &Leaf::load);
    SerializableRegistry::instance().add(QStringLiteral("test.Node"), &Node::load);
}

QByteArray write(const Serializable& object, QDataStream::ByteOrder order = QDataStream::BigEndian)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::ReadWrite);
    stream.setByteOrder(order);
    BinaryOutputArchive archive(stream);
    TrackingOutputArchive tracking(archive);
    tracking.saveSerializable(object);
    return bytes;
}

std::shared_ptr<Serializable> read(const QByteArray& bytes, QDataStream::ByteOrder order = QDataStream::BigEndian)
{
    QDataStream stream(bytes);
    stream.setByteOrder(order);
    BinaryInputArchive archive(stream);
    TrackingInputArchive tracking(archive);
    return tracking.loadSerializable();
}

std::shared_ptr<Node> chain(int depth)
{
    auto root = std::make_shared<Node>();
    Node* current = root.get();
    for (int i = 1; i < depth; ++i) {
        auto next = std::make_shared<Node>();
        current->children.push_back(next);
        current = next.get();
    }
    return root;
}

} // namespace

TEST(Archive, LeafBytesAndVersions)
{
    registerTestClasses();
    const QByteArray bytes = write(Leaf(1.5, "ab"));
    // Tag "test.Leaf" (9 UTF-16 units), version 2, the double, the label.
    QByteArray expected = QByteArray::fromHex("00000012");
    for (char c : QByteArray("test.Leaf"))
        expected.append('\0').append(c);
    expected += QByteArray::fromHex("00000002" "3ff8000000000000" "00000004" "00610062");
    EXPECT_EQ(bytes.toHex(), expected.toHex());

    for (auto order : {QDataStream::BigEndian, QDataStream::LittleEndian}) {
        const auto back = std::dynamic_pointer_cast<Leaf>(read(write(Leaf(-2.25, "x"), order), order));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->value, -2.25);
        EXPECT_EQ(back->label, "x");
    }

    // Doubles keep 8 bytes whatever precision the stream is set to.
    QByteArray raw;
    {
        QDataStream s(&raw, QIODevice::WriteOnly);
        s.setFloatingPointPrecision(QDataStream::SinglePrecision);
        writeDouble(s, 0.1);
    }
    ASSERT_EQ(raw.size(), 8);
    QDataStream in(raw);
    in.setFloatingPointPrecision(QDataStream::SinglePrecision);
    EXPECT_EQ(readDouble(in), 0.1);

    QByteArray versionBytes;
    {
        QDataStream s(&versionBytes, QIODevice::WriteOnly);
        BinaryOutputArchive out(s);
        out.saveVersion(7);
    }
    EXPECT_EQ(versionBytes.toHex(), "00000007");
    QDataStream vs(versionBytes);
    BinaryInputArchive vin(vs);
    EXPECT_EQ(vin.loadVersion(), 7u);
    EXPECT_THROW(vin.loadVersion(), Error);
}

TEST(Archive, SharedObjectsAndNesting)
{
    registerTestClasses();
    auto shared = std::make_shared<Leaf>(3.0, "shared");
    Node root;
    root.children = {shared, std::make_shared<Leaf>(4.0, QString()), shared};
    auto inner = std::make_shared<Node>();
    inner->children = {shared};
    root.children.push_back(inner);

    const auto back = std::dynamic_pointer_cast<Node>(read(write(root)));
    ASSERT_TRUE(back);
    ASSERT_EQ(back->children.size(), 4u);
    const auto first = std::dynamic_pointer_cast<Leaf>(back->children[0]);
    const auto second = std::dynamic_pointer_cast<Leaf>(back->children[1]);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->label, "shared");
    EXPECT_TRUE(second->label.isNull());
    // The same object written twice comes back as one object.
    EXPECT_EQ(back->children[2], back->children[0]);
    const auto innerBack = std::dynamic_pointer_cast<Node>(back->children[3]);
    ASSERT_TRUE(innerBack);
    ASSERT_EQ(innerBack->children.size(), 1u);
    EXPECT_EQ(innerBack->children[0], back->children[0]);

    // Nesting up to the limit works both ways; one level more is refused
    // when writing, and forged bytes that nest deeper are refused when read.
    EXPECT_TRUE(read(write(*chain(TrackingInputArchive::maxDepth))));
    EXPECT_THROW(write(*chain(TrackingInputArchive::maxDepth + 1)), Error);

    QByteArray nodeHead = QByteArray::fromHex("00000012");
    for (char c : QByteArray("test.Node"))
        nodeHead.append('\0').append(c);
    nodeHead += QByteArray::fromHex("00000000");   // version
    QByteArray forged;
    for (int i = 0; i < TrackingInputArchive::maxDepth + 1; ++i)
        forged += nodeHead + QByteArray::fromHex(i == TrackingInputArchive::maxDepth ? "00000000" : "00000001");
    EXPECT_THROW(read(forged), Error);
    // One level less is fine.
    EXPECT_TRUE(read(forged.mid(nodeHead.size() + 4)));
}

TEST(Archive, MalformedBytesThrow)
{
    registerTestClasses();
    Node self;
    const QByteArray selfHead = write(self).chopped(4);
    const std::pair<const char*, QByteArray> rows[] = {
        {"nothing", QByteArray()},
        {"unknown class", QByteArray::fromHex("00000004" "0078" "0079" "00000000")},
        {"empty class name", QByteArray::fromHex("0000000000000000")},
        {"odd string length", QByteArray::fromHex("00000003616263")},
        // A string longer than the data must not be allocated.
        {"string longer than the data", QByteArray::fromHex("7ffffffe0041")},
        {"reference to an object never read", QByteArray::fromHex("ffffffff00000000")},
        {"node that refers to itself while it is read", selfHead + QByteArray::fromHex("00000001" "ffffffff" "00000000")},
        {"count far beyond the bytes left", selfHead + QByteArray::fromHex("ffffffff")},
    };
    for (const auto& [name, bytes] : rows)
        EXPECT_THROW(read(bytes), Error) << name;

    // Every cut of a valid archive throws, none crashes.
    auto shared = std::make_shared<Leaf>(1.0, "leaf");
    Node root;
    root.children = {shared, std::make_shared<Node>(), shared};
    const QByteArray full = write(root);
    ASSERT_TRUE(read(full));
    for (int cut = 0; cut < full.size(); ++cut)
        EXPECT_THROW(read(full.left(cut)), Error) << "cut at " << cut;
    // Flipping any byte either still reads or throws Error.
    for (int i = 0; i < full.size(); ++i) {
        QByteArray bad = full;
        bad[i] = char(bad[i] ^ 0xA5);
        try {
            read(bad);
        } catch (const Error&) {
        }
    }
}

TEST(Archive, RegistryKeepsFirstLoader)
{
    auto& registry = SerializableRegistry::instance();
    EXPECT_EQ(registry.find("test.Missing"), nullptr);
    registry.add("test.Once", [](TrackingInputArchive&, quint32) { return std::make_shared<Leaf>(1.0, "first"); });
    const auto* loader = registry.find("test.Once");
    ASSERT_NE(loader, nullptr);
    registry.add("test.Once", [](TrackingInputArchive&, quint32) { return std::make_shared<Leaf>(2.0, "second"); });
    EXPECT_EQ(registry.find("test.Once"), loader);
    QByteArray none;
    QDataStream s(none);
    BinaryInputArchive a(s);
    TrackingInputArchive t(a);
    EXPECT_EQ(std::static_pointer_cast<Leaf>((*loader)(t, 0))->label, "first");
    // Names and loaders that cannot be used are not registered.
    registry.add(QString(), [](TrackingInputArchive&, quint32) { return std::make_shared<Leaf>(1.0, ""); });
    EXPECT_EQ(registry.find(QString()), nullptr);
    registry.add("test.NoLoader", {});
    EXPECT_EQ(registry.find("test.NoLoader"), nullptr);
}
