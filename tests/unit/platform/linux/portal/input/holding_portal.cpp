#include <unistd.h>

#include <QCoreApplication>
#include <future>
#include <memory>

#include "platform/SystemClock.h"
#include "platform/linux/portal/input/PortalEventPoster.h"
#include "platform/linux/portal/session/PortalSession.h"

/// Asks for a session, holds Shift, a key and a button in it, and waits to be ended.
int main(int argc, char* argv[]) {
  using namespace vesk;
  using namespace vesk::portal;
  const QCoreApplication application(argc, argv);
  const SystemClock clock;
  InputGate gate(clock);
  const auto strokes = std::make_shared<session::StrokeQueue>(gate);
  const stream::WatchedDisplay watched;
  input::PortalEventPoster poster(gate, strokes, watched);
  std::promise<bool> isGranted;
  session::PortalSession session(strokes, {},
                                 {[&](const session::Granted&) { isGranted.set_value(true); },
                                  [&](const PlatformError&) { ::_exit(1); }});
  session.start();
  isGranted.get_future().wait();
  poster.post(KeyboardEvent{
      .keyCode = 0x00, .down = true, .type = EventType::keyDown, .flags = eventFlag::shift});
  poster.post(MouseEvent{.type = EventType::leftMouseDown, .point = {100, 100}});
  while (true) ::pause();
}
