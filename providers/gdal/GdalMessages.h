#pragma once
// GDAL reports through its own error handler, which prints "ERROR 1: ..." on
// standard error beside the shell's own message. While a GdalMessages lives,
// GDAL's warnings and errors on this thread are collected instead, so that
// the shell can fold them into its error text.

#include <QStringList>

namespace tessera::providers {

class GdalMessages {
public:
    GdalMessages();
    ~GdalMessages();
    GdalMessages(const GdalMessages&) = delete;
    GdalMessages& operator=(const GdalMessages&) = delete;

    // The messages so far, oldest first, each once; clears the list.
    QStringList take();

    // `error`, followed by the collected messages it does not already contain.
    QString foldInto(const QString& error);

private:
    QStringList messages;
};

} // namespace tessera::providers
