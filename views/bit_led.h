#pragma once
#include <QWidget>

#include "state/ELM327_Info.h"

namespace tavelin {

// One LED: a small surface in one colour, repainted only when it changes.
class BitLed final : public QWidget {
 public:
  explicit BitLed(QWidget* parent);
  void SetBackColor(Colour colour);
  Colour BackColor() const { return colour_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Colour colour_ = 0;
  QColor painted_;
};

}  // namespace tavelin
