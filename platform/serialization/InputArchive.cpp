#include "platform/serialization/Archive.h"

namespace tessera::serialization {

quint32 InputArchive::loadVersion()
{
    quint32 version = 0;
    stream() >> version;
    checkStream(stream());
    return version;
}

void checkStream(QDataStream& stream)
{
    switch (stream.status()) {
    case QDataStream::Ok:
        return;
    case QDataStream::ReadPastEnd:
        throw Error("Archive data is truncated");
    case QDataStream::ReadCorruptData:
        throw Error("Archive data is corrupt");
    case QDataStream::WriteFailed:
        throw Error("Archive could not be written");
    }
    throw Error("Archive stream is in an unknown state");
}

} // namespace tessera::serialization
