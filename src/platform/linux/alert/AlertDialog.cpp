#include "platform/linux/alert/AlertDialog.h"

#include <QAccessible>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QGridLayout>
#include <QLabel>
#include <QWindow>
#include <algorithm>
#include <chrono>

#include "platform/linux/alert/AlertButton.h"
#include "platform/linux/alert/AlertColours.h"
#include "platform/linux/alert/AlertIcon.h"
#include "platform/linux/alert/AlertText.h"

// Qt's parents own their children: what is made here with `new` belongs to the dialog.

namespace vesk::alert {
namespace {

constexpr int iconSize = 64;
constexpr int margin = 20;

int roomForTextBesideIcon(QSize room) { return room.width() - iconSize - 3 * margin; }

/// Where there is too little room beside it, the text takes the icon's.
bool hasRoomForIcon(QSize room) {
  constexpr int readable = 240;
  return roomForTextBesideIcon(room) >= readable;
}

/// Lines stay as easy to read in a large font, as long as the window stays a dialog in sight.
int textWidth(const QFont& font, QSize room) {
  constexpr int usual = 380;
  constexpr int widest = 640;
  constexpr int lettersOfALine = 45;
  const int wanted =
      std::clamp(lettersOfALine * QFontMetrics(font).averageCharWidth(), usual, widest);
  return std::min(wanted,
                  hasRoomForIcon(room) ? roomForTextBesideIcon(room) : room.width() - 2 * margin);
}

/// A desktop gives its fonts in points or in pixels.
void enlarge(QFont& font) {
  constexpr double larger = 1.15;
  if (font.pointSizeF() > 0) {
    font.setPointSizeF(font.pointSizeF() * larger);
  } else {
    font.setPixelSize(qRound(font.pixelSize() * larger));
  }
}

/// A label never reads its text as markup, and reads from left to right as its sentences do.
QLabel* makeLabel(QWidget* parent, QSize room) {
  auto* const label = new QLabel(parent);
  label->setTextFormat(Qt::PlainText);
  label->setLayoutDirection(Qt::LeftToRight);
  label->setWordWrap(true);
  label->setFixedWidth(textWidth(label->font(), room));
  label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  return label;
}

void setText(QLabel& label, const QString& text, int mostLines) {
  const int width = label.minimumWidth();
  label.setText(elidedParagraph(text, label.font(), width, mostLines));
  // What is read aloud has no places to break at.
  label.setAccessibleName(label.text().remove(QChar(0x200b)));
  label.setFixedHeight(label.heightForWidth(width));
}

}  // namespace

AlertDialog::AlertDialog(QSize room)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint |
                           Qt::MSWindowsFixedSizeDialogHint),
      room_(room),
      message_(makeLabel(this, room)),
      informative_(makeLabel(this, room)),
      buttonBox_(new QDialogButtonBox(this)) {
  setWindowTitle("Vesk Remote");
  setWindowIcon(alertIcon());
  // The focus is to be seen from the start, not only after the first Tab.
  setAttribute(Qt::WA_KeyboardFocusChange);
  QFont bold = message_->font();
  bold.setBold(true);
  enlarge(bold);
  message_->setFont(bold);
  connect(qApp, &QApplication::focusChanged, this, [this] { markDefaultButton(); });
  untilInSight_.setInterval(std::chrono::seconds(1));
  connect(&untilInSight_, &QTimer::timeout, this, [this] {
    if (onMissing) onMissing();
  });
  layOut();
}

AlertDialog::~AlertDialog() {
  // The buttons lose the focus when the dialog's base is taken down, and the list of them is gone
  // by then.
  disconnect(qApp, nullptr, this, nullptr);
}

void AlertDialog::setMessageText(const QString& text) {
  // A name may be as long as a stranger likes.
  constexpr int mostLines = 2;
  setText(*message_, text, mostLines);
  setAccessibleName(message_->accessibleName());
}

void AlertDialog::setInformativeText(const QString& text) {
  constexpr int mostLines = 4;
  setText(*informative_, text, mostLines);
  setAccessibleDescription(informative_->accessibleName());
}

void AlertDialog::addButton(const QString& title) {
  const bool first = buttons_.empty();
  QString label = title;
  auto* const button = new AlertButton(label.replace("&", "&&"));
  buttonBox_->addButton(button,
                        first ? QDialogButtonBox::AcceptRole : QDialogButtonBox::RejectRole);
  const int result = firstButton + static_cast<int>(buttons_.size());
  connect(button, &QPushButton::clicked, this, [this, result] { choose(result); });
  button->setDefault(first);
  buttons_.push_back(button);
}

void AlertDialog::fitOnScreen() { informative_->setVisible(sizeHint().height() <= room_.height()); }

/// What has not been seen is not answered, and that it will be gone in a moment is seen by nobody.
void AlertDialog::reject() {
  if (!outdated_) QDialog::reject();
}

void AlertDialog::choose(int result) {
  if (devicePixelRatioF() != scale_) becomeOutdated();
  if (!outdated_) done(result);
}

void AlertDialog::becomeOutdated() {
  if (outdated_) return;
  outdated_ = true;
  // In the middle of the change the window must stay. It may be closed by the end of it.
  const auto end = [this] {
    if (isVisible()) done(outdated);
  };
  QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
}

void AlertDialog::done(int result) {
  if (onClosing) onClosing();
  QDialog::done(result);
}

void AlertDialog::layOut() {
  auto* const icon = new AlertIcon(this, iconSize);
  icon->setVisible(hasRoomForIcon(room_));
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(margin, margin, margin, margin);
  grid->setHorizontalSpacing(hasRoomForIcon(room_) ? margin : 0);
  grid->setVerticalSpacing(margin / 2);
  grid->addWidget(icon, 0, 0, 2, 1, Qt::AlignTop);
  grid->addWidget(message_, 0, 1);
  grid->addWidget(informative_, 1, 1, Qt::AlignTop);
  grid->setRowMinimumHeight(2, margin / 2);
  grid->addWidget(buttonBox_, 3, 0, 1, 2);
  grid->setSizeConstraint(QLayout::SetFixedSize);
}

/// The focus takes the default along, so one look tells what Return does.
void AlertDialog::markDefaultButton() {
  for (auto* const button : buttons_) {
    button->setPalette(button->isDefault() ? defaultButtonPalette(palette())
                                           : buttonPalette(palette()));
  }
}

void AlertDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!buttons_.empty()) buttons_.front()->setFocus(Qt::TabFocusReason);
  windowHandle()->installEventFilter(this);
  markDefaultButton();
  untilInSight_.start();
  scale_ = devicePixelRatioF();
  look_ = std::make_unique<LookWatch>(*this, [this] { becomeOutdated(); });
  QAccessibleEvent alert(this, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void AlertDialog::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange && isMinimized() && onMissing) onMissing();
}

bool AlertDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Expose && windowHandle()->isExposed()) {
    untilInSight_.stop();
    // It may take itself away.
    if (const auto call = onExposed) call();
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace vesk::alert
