#pragma once
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <array>

#include "dialogs/tool_dialog.h"

namespace tavelin {

// The settings that hold for all channels: the display mode, whether and
// how logs are saved, where they go, and the sampling period. It edits the
// shared store of its owner view; OK stores, with silent fallbacks.
class FormCommonSetting final : public ToolDialog {
 public:
  FormCommonSetting(ViewHost& host, ViewFrame*& owner);

  // Fills every control from the store: at each activation, so that leaving
  // the dialog for another of the program's windows and coming back drops
  // edits not yet confirmed.
  void read_setting();
  // The font size of every channel of `view` (3 digital, 4 analog).
  void SetFormData(int32_t view, int32_t fontsize);

  QGroupBox* Frame7;
  std::array<QRadioButton*, 6> RB_ViewCh;
  QCheckBox* CB_LogFile_Enable;
  QGroupBox* GB_LogSave_Format;
  std::array<QRadioButton*, 2> RB_LogSV_Format;
  QLabel* Label4;
  QLineEdit* TB_Excel_Status;
  QLabel* Lb_Sampling;
  QLineEdit* TB_Sampling;
  QCheckBox* CB_LogSave_subFolder;
  QGroupBox* GB_LogSave_path;
  std::array<QRadioButton*, 3> RB_LogSaveFilePath;
  QLineEdit* TB_LogSaveFilePath;
  QLabel* Img_Log_save_folder;
  QLabel* Img_Log_save_folder_path;
  QPushButton* Bt_OK;
  QPushButton* Bt_Cancell;
  QToolButton* Img_Help_Setting;

  void Bt_OK_Click();

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Set_Log_Controls(int32_t value);
  void ChangeView(int32_t mode);
  ELM327_Info& Device() const;
  // The focus left this dialog for another of the program's windows.
  bool leftForOwnWindow_ = false;
};

}  // namespace tavelin
