#include "support/XResources.h"

#include <xcb/res.h>

#include <filesystem>
#include <stdexcept>

#include "platform/linux/x11/server/Connection.h"

namespace vesk::testing {
namespace {

std::size_t entriesOf(const std::filesystem::path& folder) {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

}  // namespace

XResources countXResources() {
  const x11::server::Connection connection;
  auto* const c = connection.get();
  XResources found;
  const x11::server::ReplyPtr<xcb_res_query_clients_reply_t> clients(
      xcb_res_query_clients_reply(c, xcb_res_query_clients(c), nullptr));
  if (clients == nullptr) throw std::runtime_error("the server does not tell of its resources");
  for (auto client = xcb_res_query_clients_clients_iterator(clients.get()); client.rem > 0;
       xcb_res_client_next(&client)) {
    ++found.clients;
    const x11::server::ReplyPtr<xcb_res_query_client_resources_reply_t> resources(
        xcb_res_query_client_resources_reply(
            c, xcb_res_query_client_resources(c, client.data->resource_base), nullptr));
    if (resources == nullptr) continue;
    for (auto type = xcb_res_query_client_resources_types_iterator(resources.get()); type.rem > 0;
         xcb_res_type_next(&type)) {
      found.objects += type.data->count;
    }
  }
  return found;
}

ProcessResources countProcessResources() {
  return {entriesOf("/proc/self/fd"), entriesOf("/proc/self/task")};
}

}  // namespace vesk::testing
