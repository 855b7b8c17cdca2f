#include "platform/cs/CoordSystemArchive.h"

#include "platform/serialization/StreamIo.h"

namespace tessera::serialization {

namespace {
enum Tag : quint8 { None = 0, Epsg = 1, Wkt = 2 };
}

void save(OutputArchive& archive, const std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 /*version*/)
{
    QDataStream& s = archive.stream();
    if (!coordSystem) {
        s << quint8(None);
    } else if (const int code = coordSystem->epsg()) {
        s << quint8(Epsg) << qint32(code);
    } else {
        s << quint8(Wkt) << coordSystem->wkt();
    }
}

void load(InputArchive& archive, std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 version)
{
    if (version != 0)
        throw Error("Unsupported coordinate system archive version " + std::to_string(version));
    QDataStream& s = archive.stream();
    quint8 tag = 0;
    s >> tag;
    checkStream(s);
    const cs::CoordSysFactory* factory = cs::CoordSysFactory::defaultCoordSysFactory();
    switch (tag) {
    case None:
        coordSystem.reset();
        return;
    case Epsg: {
        qint32 code = 0;
        s >> code;
        checkStream(s);
        auto made = factory->createFromEpsg(code);
        if (!made)
            throw Error("Archive holds an unknown EPSG code " + std::to_string(code));
        coordSystem = std::move(made);
        return;
    }
    case Wkt: {
        const QString wkt = readString(s);
        auto made = factory->createFromTaggedString(wkt);
        if (!made)
            throw Error("Archive holds a coordinate system PROJ cannot make");
        coordSystem = std::move(made);
        return;
    }
    default:
        throw Error("Archive holds an unknown coordinate system tag " + std::to_string(tag));
    }
}

bool mayHoldCoordSystem(const char* data, int size)
{
    const auto* p = reinterpret_cast<const unsigned char*>(data);
    return size >= 5 && p[0] == 0 && p[1] == 0 && p[2] == 0 && p[3] == 0 && p[4] <= Wkt;
}

} // namespace tessera::serialization
