#pragma once
#include <QApplication>

namespace tavelin {

// The program's look and language, set once on the application: the UI
// font at 9 points, and Qt's own texts in Japanese, so that the standard
// buttons of message boxes and dialogs say キャンセル, not Cancel. False
// when Qt's Japanese translations (Debian's qt6-translations-l10n) are not
// installed; Qt's English then stands.
bool UseProgramLook(QApplication& application);

}  // namespace tavelin
