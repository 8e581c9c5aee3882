#include "ui/cover_window.h"

namespace brindle {

CoverForm::CoverForm(const QString& title) : column_(new QVBoxLayout(this)) {
  setObjectName("coverForm");
  setLit(false);
  column_->setAlignment(Qt::AlignCenter);
  column_->setSpacing(14);
  QLabel* heading = addText(30, true);
  heading->setWordWrap(false);
  heading->setText(title);
  setAccessibleName(title);
}

void CoverForm::setLit(bool lit) {
  setStyleSheet(QString("#coverForm QLabel { color: %1; }"
                        "#coverForm QLabel#message { color: %2; }"
                        "#coverForm QLineEdit { padding: 8px; font-size: 18px; }"
                        "#coverForm QPushButton { padding: 8px; }"
                        "#coverForm QPushButton:flat { color: %1; }")
                    .arg(lit ? "#202020" : "#f2f2f2", lit ? "#a03000" : "#ffc46b"));
}

QLabel* CoverForm::addText(int points, bool bold) {
  auto* label = new QLabel;
  QFont font = label->font();
  font.setPointSize(points);
  font.setBold(bold);
  label->setFont(font);
  label->setAlignment(Qt::AlignHCenter);
  label->setWordWrap(true);
  column_->addWidget(label);
  return label;
}

void CoverWindow::show(CoverForm* form) {
  form_ = form;
  cover_ = std::make_unique<ScreenCover>(
      form, [this] { return screen_.screenLocked(); }, hold_);
  setLit(lit_);
  cover_->show();
}

void CoverWindow::hide() {
  cover_.reset();
  form_ = nullptr;
}

void CoverWindow::setLit(bool lit) {
  lit_ = lit;
  if (cover_) cover_->setLit(lit);
  if (form_) form_->setLit(lit);
}

}  // namespace brindle
