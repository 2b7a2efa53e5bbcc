#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "platform/Descriptor.h"
#include "support/TemporaryFolder.h"
#include "support/XServer.h"

namespace vesk::testing {

/// A Chromium without a window, with a profile of its own and one page, steered through its pipe
/// for developers: it opens no port, and it ends by itself with whoever holds the pipe.
///
/// Thread: the test's. Fails: by an exception, as what a script throws does, an end of the browser,
/// and an answer that does not come in time.
class Browser {
 public:
  Browser();
  ~Browser();
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  /// What an expression of JavaScript comes to, a promise's once it is kept. What the expressions
  /// before it have declared is there.
  nlohmann::json evaluate(const std::string& expression);

 private:
  using Json = nlohmann::json;

  void openPage();
  Json ask(const std::string& method, const Json& parameters);
  void send(const std::string& message);
  Json nextMessage();

  TemporaryFolder folder_;
  Descriptor commands_;
  Descriptor answers_;
  std::unique_ptr<ChildProcess> process_;
  std::string page_;    ///< the session that messages to the page carry; empty before
  std::string loaded_;  ///< the document that has last been loaded whole
  std::string received_;
  int lastCall_ = 0;
};

}  // namespace vesk::testing
