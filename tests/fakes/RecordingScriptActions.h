#pragma once

#include <string>
#include <vector>

#include "agent/Script.h"

namespace vesk::testing {

/// Notes what a script does, in order; the test tells what the connection is like.
class RecordingScriptActions : public agent::ScriptActions {
 public:
  bool connected = true;
  bool sentAll = true;
  Bytes sent;
  std::vector<std::string> calls;

  bool isConnected() const override { return connected; }
  void send(ByteView bytes) override {
    sent.insert(sent.end(), bytes.begin(), bytes.end());
    calls.emplace_back("send");
  }
  void disconnect() override {
    connected = false;
    calls.emplace_back("disconnect");
  }
  void stopReading() override { calls.emplace_back("stopReading"); }
  void startReading() override { calls.emplace_back("startReading"); }
  bool allSent() const override { return sentAll; }
  void showHelp() override { calls.emplace_back("showHelp"); }
  void reportError(const std::string& text) override { calls.push_back("error: " + text); }
};

}  // namespace vesk::testing
