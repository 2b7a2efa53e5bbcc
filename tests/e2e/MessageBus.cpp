#include "e2e/MessageBus.h"

#include <fstream>
#include <stdexcept>
#include <vector>

#include "platform/UnixSocket.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

std::string lonelyBus(const std::string& address, const std::string& services) {
  return "<busconfig><type>session</type><listen>" + address + "</listen><servicedir>" + services +
         R"(</servicedir>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

}  // namespace

MessageBus::MessageBus(const std::filesystem::path& folder, Services services) {
  const std::string socket = folder / "bus";
  const std::string configuration = folder / "bus.conf";
  address_ = "unix:path=" + socket;
  std::ofstream(configuration) << lonelyBus(address_, folder / "services");
  const std::string home = folder;
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{
          "dbus-daemon",
          services == Services::systems ? "--session" : "--config-file=" + configuration,
          "--nofork", "--nosyslog", "--address=" + address_},
      std::vector<std::string>{"HOME=" + home, "XDG_CONFIG_HOME=" + home, "XDG_CONFIG_DIRS=" + home,
                               "XDG_RUNTIME_DIR=" + home});
  // The socket's file is there a moment before anybody listens.
  if (!waitUntil([&] { return unixSocket::connect(unixSocket::open(), socket); })) {
    throw std::runtime_error("the message bus did not start");
  }
}

}  // namespace vesk::testing
