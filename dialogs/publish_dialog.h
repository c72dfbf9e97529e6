#pragma once
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include "publishing/publish_settings.h"

namespace tavelin {

// 配信設定: where every logged row goes besides the log, kept in
// publish.conf. OK takes only settings that can publish (or publishing
// off); what is wrong is said in the dialog, which stays open.
class PublishDialog final : public QDialog {
 public:
  // `link`: the link's state and its last news, shown under the fields.
  PublishDialog(QWidget* parent, const std::string& title, const PublishSettings& settings,
                const QString& link);

  PublishSettings Settings() const;
  // OK: the settings taken when they can publish, else the reason shown.
  bool TakeSettings();

  QCheckBox* Chk_Enabled;
  QLineEdit* TB_Url;
  QLineEdit* TB_Bench;
  QLineEdit* TB_CaFile;
  QLineEdit* TB_PasswordFile;
  QComboBox* CB_Version;
  QSpinBox* Num_SpoolMb;
  QLabel* Lb_Problem;
  QLabel* Lb_Link;
  QPushButton* Btn_OK;
  QPushButton* Btn_Cancel;
};

}  // namespace tavelin
