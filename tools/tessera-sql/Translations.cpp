#include "tools/tessera-sql/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>
#include <QTranslator>

namespace tessera::shell {

bool installTranslations()
{
    const QLocale locale;
    if (locale.language() == QLocale::Russian)
        return true;
    const QString base = QCoreApplication::applicationDirPath();
    const QStringList folders = {base + QLatin1String("/translations"), base + QLatin1String("/../share/tessera/translations")};
    // The application keeps the translator for the rest of the run.
    auto* translator = new QTranslator(QCoreApplication::instance());
    for (const QString& folder : folders) {
        // The locale's own file when there is one, else English.
        if (translator->load(locale, QStringLiteral("tessera"), QStringLiteral("_"), folder)
            || translator->load(QStringLiteral("tessera_en"), folder)) {
            QCoreApplication::installTranslator(translator);
            return true;
        }
    }
    delete translator;
    return false;
}

} // namespace tessera::shell
