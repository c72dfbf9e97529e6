#pragma once
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTextEdit>
#include <array>

#include "state/ELM327_Info.h"

namespace tavelin {

// The splash of the start-up, with its progress.
class Form2 final : public QWidget {
 public:
  Form2();
  QLabel* Lb_msg;
  QProgressBar* ProgressBar1;
  QLabel* Image1;
};

// The consent to the terms of use, asked on a first start.
class Formterms final : public QDialog {
 public:
  explicit Formterms(ELM327_Info& device);
  QTextEdit* RT_terms_of_use;
  std::array<QRadioButton*, 2> RB_Enable;  // 同意します, 同意しません
  std::array<QPushButton*, 2> Bt_agree;    // OK, キャンセル

  void Bt_agree_Click(int index);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  ELM327_Info& device_;
};

// The terms shown in the consent dialog.
extern const char* const kTermsOfUse;

}  // namespace tavelin
