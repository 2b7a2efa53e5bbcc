#include "platform/linux/wayland/alert/AlertScene.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "platform/linux/alert/AlertColours.h"
#include "platform/linux/alert/AlertDialog.h"

namespace vesk::wayland::alert {
namespace {

using Change = beneath::OwnSurfaces::Change;

overlay::LayerArea middleOf(const server::Output& output, QSize size) {
  const auto width = static_cast<int>(output.area.width);
  const auto height = static_cast<int>(output.area.height);
  return {std::max(0, (width - size.width()) / 2), std::max(0, (height - size.height()) / 2),
          size.width(), size.height()};
}

/// Nothing frames it, and what is beneath may have its colour.
void outline(QImage& image, const QRectF& area, const QPalette& palette) {
  constexpr double radius = 8;
  constexpr double line = 1;
  QPainterPath inside;
  inside.addRoundedRect(area, radius, radius);
  QPainterPath outside;
  outside.addRect(area);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
  painter.fillPath(outside - inside, Qt::black);
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  QColor colour = vesk::alert::isDark(palette) ? Qt::white : Qt::black;
  colour.setAlphaF(0.35F);
  painter.setPen(QPen(colour, line));
  const double half = line / 2;
  painter.drawRoundedRect(area.adjusted(half, half, -half, -half), radius - half, radius - half);
}

}  // namespace

AlertScene::AlertScene(vesk::alert::AlertDialog& dialog, overlay::LayerShell& shell,
                       beneath::OwnSurfaces& ownSurfaces)
    : dialog_(dialog), shell_(shell), ownSurfaces_(ownSurfaces) {
  laterPaint_.setSingleShot(true);
  connect(&laterPaint_, &QTimer::timeout, this, [this] { paint(); });
  dialog_.onExposed = [this] {
    dialog_.onExposed = nullptr;
    comeUp();
  };
  dialog_.onClosing = [this] { goAway(); };
  dialog_.installEventFilter(this);
  if (shell_.learnOutputs() || shell_) {
    begin();
  } else {
    giveUp();
  }
}

void AlertScene::begin() {
  notifier_.emplace(shell_.connection().descriptor(), QSocketNotifier::Read);
  connect(&*notifier_, &QSocketNotifier::activated, this, [this] { listen(); });
  output_ = shell_.outputs().main();
  shell_.outputs().onChange = [this] { followOutputs(); };
}

AlertScene::~AlertScene() {
  shell_.outputs().onChange = nullptr;
  dialog_.onExposed = nullptr;
  dialog_.onClosing = nullptr;
  goAway();
  input_.reset();
  // Nobody listens from now on, so nothing is to be told either.
  shell_.connection().flush();
}

void AlertScene::comeUp() {
  if (!output_ || !shell_) return;
  const Change change(ownSurfaces_);
  surface_.emplace(shell_, ownSurfaces_, *output_, middleOf(*output_, dialog_.size()),
                   overlay::LayerSurface::Kind::question);
  surface_->onClosed = [this] { dialog_.becomeOutdated(); };
  const auto deadline = overlay::LayerShell::Clock::now() + overlay::LayerShell::patience;
  shell_.connection().wait([this] { return surface_->isReady() || surface_->isClosed(); },
                           deadline);
  input_.emplace(dialog_, shell_, *surface_);
  if (surface_->isReady()) {
    paint();
    input_->comesIntoSight();
  }
  shell_.settle();
  // What that has told may have been answered by requests, and nothing else need ever come.
  shell_.connection().flush();
}

/// Until the compositor has taken it away, no picture is certain to be without it.
void AlertScene::goAway() {
  if (!surface_ || surface_->get() == nullptr) return;
  if (input_) input_->goesOutOfSight();
  const Change change(ownSurfaces_);
  laterPaint_.stop();
  surface_->leave();
  shell_.settle();
}

bool AlertScene::eventFilter(QObject* watched, QEvent* event) {
  // Qt is about to paint what has changed, into a window that nobody sees.
  if (event->type() == QEvent::UpdateRequest && surface_) laterPaint_.start(0);
  return QObject::eventFilter(watched, event);
}

void AlertScene::paint() {
  if (!surface_ || !surface_->isReady()) return;
  const int scale = surface_->scale();
  QImage image(dialog_.size() * scale, QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(scale);
  image.fill(Qt::transparent);
  dialog_.render(&image);
  outline(image, QRectF(dialog_.rect()), dialog_.palette());
  surface_->show(image);
  shell_.connection().flush();
}

void AlertScene::listen() {
  if (shell_.connection().dispatch()) {
    comeUpLate();
    shell_.connection().flush();
    return;
  }
  // A socket whose other end is gone stays readable for ever.
  notifier_->setEnabled(false);
  giveUp();
}

/// Where the compositor was held up when it was to.
void AlertScene::comeUpLate() {
  if (!surface_ || !input_ || !surface_->isReady() || surface_->isShown()) return;
  const Change change(ownSurfaces_);
  paint();
  input_->comesIntoSight();
  shell_.settle();
}

/// The dialog may not run yet.
void AlertScene::giveUp() {
  QMetaObject::invokeMethod(
      this, [this] { dialog_.reject(); }, Qt::QueuedConnection);
}

/// What is shown is not what the person would be shown now, or not where.
void AlertScene::followOutputs() {
  const auto now = output_ ? shell_.outputs().find(output_->id) : shell_.outputs().main();
  if (now != output_) dialog_.becomeOutdated();
}

}  // namespace vesk::wayland::alert
