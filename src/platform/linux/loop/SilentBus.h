#pragma once

#include <chrono>
#include <string>

/// The session's message bus where it takes connections and does not answer: it was stopped, or its
/// machine has much else to do. Qt and its accessibility would wait for it for half a minute, or
/// for ever, and nothing else would go on meanwhile. Thread: main.
namespace vesk::loop {

/// Whether the bus at that address, as D-Bus writes a list of them, lets the time pass without an
/// answer to a greeting. One that refuses it, ends, or is not there, is not silent. Buses that are
/// not reached by a socket of the Unix domain are not asked, and nobody is started.
bool isSilentBus(const std::string& address, std::chrono::milliseconds patience);

/// Lets the program run without the session's bus when that is silent. To be called before there
/// are other threads and before Qt: it changes the environment.
void leaveSilentBus();

}  // namespace vesk::loop
