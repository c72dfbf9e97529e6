#include "views/application_look.h"

#include <QLibraryInfo>
#include <QTranslator>

#include "views/design_units.h"

namespace tavelin {

bool UseProgramLook(QApplication& application) {
  QFont font(UiFontFamily());
  font.setPointSizeF(9);
  QApplication::setFont(font);
  auto* translator = new QTranslator(&application);
  if (!translator->load(QStringLiteral("qtbase_ja"),
                        QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    delete translator;
    return false;
  }
  return QCoreApplication::installTranslator(translator);
}

}  // namespace tavelin
