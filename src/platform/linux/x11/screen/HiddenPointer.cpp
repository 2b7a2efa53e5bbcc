#include "platform/linux/x11/screen/HiddenPointer.h"

#include <xcb/xcbext.h>

#include <algorithm>
#include <span>
#include <vector>

#include "platform/linux/x11/server/Properties.h"

namespace vesk::x11::screen {

HiddenPointer::HiddenPointer(const server::Connection& connection) : connection_(connection) {
  const auto* const extension = xcb_get_extension_data(connection_.get(), &xcb_res_id);
  if (extension == nullptr || extension->present == 0) return;
  count_ = server::atom(connection_.get(), "XFixesCursorHideCount");
}

bool HiddenPointer::isHidden(Clock::time_point now) {
  if (count_ == XCB_ATOM_NONE) return false;
  if (hider_ && isYes(ask(*hider_))) return true;
  // When that one shows it again, another may hide it still.
  if (!hider_ && now < nextLook_) return false;
  const auto begin = Clock::now();
  hider_ = findHider();
  nextLook_ = now + pauseAfter(Clock::now() - begin);
  return hider_.has_value();
}

/// For every client the server goes through all that it keeps: some 25 microseconds for a thousand
/// objects. Looking must not take the desktop more than a hundredth of its time.
HiddenPointer::Clock::duration HiddenPointer::pauseAfter(Clock::duration look) {
  constexpr Clock::duration shortest = std::chrono::milliseconds(250);
  constexpr int share = 100;
  return std::max(shortest, look * share);
}

/// All are asked in one go.
std::optional<std::uint32_t> HiddenPointer::findHider() const {
  auto* const c = connection_.get();
  const server::ReplyPtr<xcb_res_query_clients_reply_t> reply(
      xcb_res_query_clients_reply(c, xcb_res_query_clients(c), nullptr));
  if (reply == nullptr) return std::nullopt;
  const std::span clients(
      xcb_res_query_clients_clients(reply.get()),
      static_cast<std::size_t>(xcb_res_query_clients_clients_length(reply.get())));
  std::vector<Question> questions;
  for (const auto& client : clients) questions.push_back(ask(client.resource_base));
  std::optional<std::uint32_t> hider;
  for (std::size_t i = 0; i < clients.size(); ++i) {
    if (isYes(questions[i])) hider = clients[i].resource_base;
  }
  return hider;
}

/// Whether the client hides it. One that has gone meanwhile does not.
bool HiddenPointer::isYes(Question question) const {
  const server::ReplyPtr<xcb_res_query_client_resources_reply_t> reply(
      xcb_res_query_client_resources_reply(connection_.get(), question, nullptr));
  if (reply == nullptr) return false;
  const std::span kinds(
      xcb_res_query_client_resources_types(reply.get()),
      static_cast<std::size_t>(xcb_res_query_client_resources_types_length(reply.get())));
  return std::ranges::find(kinds, count_, &xcb_res_type_t::resource_type) != kinds.end();
}

}  // namespace vesk::x11::screen
