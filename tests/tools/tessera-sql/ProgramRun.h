#pragma once
// Runs the tessera-sql program of the build (its plug-ins beside it) and
// collects its exit status and standard streams.

#include <QProcess>
#include <QString>
#include <QStringList>

namespace tessera::test {

struct ProgramRun {
    int status = -1;
    QString out;
    QString err;
};

inline ProgramRun runTesseraSql(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), arguments);
    process.closeWriteChannel();
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

} // namespace tessera::test
