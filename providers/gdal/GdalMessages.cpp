#include "providers/gdal/GdalMessages.h"

#include <cpl_error.h>

namespace tessera::providers {

namespace {

void CPL_STDCALL collect(CPLErr level, CPLErrorNum, const char* text)
{
    if (level < CE_Warning || !text)
        return;
    auto* messages = static_cast<QStringList*>(CPLGetErrorHandlerUserData());
    const QString message = QString::fromUtf8(text).trimmed();
    if (messages && !message.isEmpty() && !messages->contains(message))
        messages->append(message);
}

} // namespace

GdalMessages::GdalMessages()
{
    CPLPushErrorHandlerEx(&collect, &messages);
}

GdalMessages::~GdalMessages()
{
    CPLPopErrorHandler();
}

QStringList GdalMessages::take()
{
    QStringList taken;
    taken.swap(messages);
    return taken;
}

QString GdalMessages::foldInto(const QString& error)
{
    QString text = error;
    for (const QString& message : take())
        if (!text.contains(message))
            text += QLatin1String(": ") + message;
    return text;
}

} // namespace tessera::providers
