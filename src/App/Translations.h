#pragma once

#include <QLocale>

/// Makes the application's texts appear in a language of the locale, if there is a catalogue for one, else in
/// English. To be called once, before the first text is shown. Main thread.
namespace Translations {

/// Whether there was a catalogue, or none was needed.
bool install(const QLocale &locale);

} // namespace Translations
