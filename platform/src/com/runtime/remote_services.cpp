// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/remote_services.h"

#include <utility>

#include "platform/src/com/runtime/comm_log.h"

namespace linux_platform::com {

std::vector<std::uint16_t> Remote_services::offered(std::uint16_t service, std::uint8_t major,
                                                    std::uint16_t instance) const {
  std::vector<std::uint16_t> instances;
  std::lock_guard<std::mutex> const lock(mutex_);
  for (auto offer = offers_.lower_bound({service, major, 0}); offer != offers_.end(); ++offer) {
    auto const [offered_service, offered_major, offered_instance] = offer->first;
    if (offered_service != service || offered_major != major) {
      break;
    }
    if (instance == any_instance || instance == offered_instance) {
      instances.push_back(offered_instance);
    }
  }
  return instances;
}

std::shared_ptr<Client_connection> Remote_services::connection(std::uint16_t service, std::uint8_t major,
                                                               std::uint16_t instance) {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const offer = offers_.find({service, major, instance});
  if (closed_ || offer == offers_.end()) {
    return nullptr;
  }
  auto& connection = connections_[address(offer->second)];
  if (connection == nullptr) {
    connection = std::make_shared<Client_connection>(local_, offer->second, limits_);
  }
  return connection;
}

void Remote_services::close() {
  std::map<Address, std::shared_ptr<Client_connection>> closing;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    closed_ = true;
    closing.swap(connections_);
    offers_.clear();
  }
  for (auto const& [address, connection] : closing) {
    connection->close("the communication runtime has ended");
  }
}

void Remote_services::on_available(Service_key const& key, Endpoint const& endpoint) {
  std::lock_guard<std::mutex> const lock(mutex_);
  if (closed_) {
    return;
  }
  auto const [offer, is_new] = offers_.emplace(identity(key), endpoint);
  if (!is_new) {
    Endpoint const before = std::exchange(offer->second, endpoint);
    let_go(address(before));
  }
}

void Remote_services::on_unavailable(Service_key const& key) {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const offer = offers_.find(identity(key));
  if (offer == offers_.end()) {
    return;
  }
  Address const where = address(offer->second);
  offers_.erase(offer);
  let_go(where);
}

// Unless something is still offered there, requests on their way may be answered and the connection ends with the last
// of them. The caller holds the mutex.
void Remote_services::let_go(Address const& where) {
  for (auto const& [other, endpoint] : offers_) {
    if (address(endpoint) == where) {
      return;
    }
  }
  connections_.erase(where);
}

void Remote_services::on_reboot(boost::asio::ip::address_v4 const& address, discovery::Time last_heard) {
  std::vector<std::shared_ptr<Client_connection>> dropped;
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    auto const first = connections_.lower_bound({address.to_uint(), 0});
    for (auto position = first; position != connections_.end() && position->first.first == address.to_uint();
         ++position) {
      dropped.push_back(position->second);
    }
  }
  for (auto const& connection : dropped) {
    connection->drop(address.to_string() + " has started anew", last_heard);
  }
}

void Remote_services::on_trouble(std::string const& what) { comm_log().LogWarn() << what; }

}  // namespace linux_platform::com
