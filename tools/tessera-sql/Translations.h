#pragma once
// The engine's texts for people are written in Russian and translated
// through Qt; the shell installs the translation for the user's locale.

namespace tessera::shell {

// Installs the translation of the user's locale (LC_ALL, LC_MESSAGES, LANG)
// on the application: English for every locale but Russian, which shows the
// source texts. Looks in translations/ next to the program, then in
// ../share/tessera/translations. Needs a QCoreApplication; false when no
// translation was found.
bool installTranslations();

} // namespace tessera::shell
