// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_PHM_PHM_CLIENT_H
#define ARA_PHM_PHM_CLIENT_H

#include <string>

namespace ara::phm {

/// What a supervised entity needs of its connection to platform health management.
class Phm_client_interface {
 public:
  virtual ~Phm_client_interface() = default;
  Phm_client_interface(Phm_client_interface const&) = delete;
  Phm_client_interface& operator=(Phm_client_interface const&) = delete;

  /// The health management instance that the process reports to.
  virtual std::string const& instance() const noexcept = 0;

 protected:
  Phm_client_interface() = default;
};

/// Connects the process to the health management instance of that name. The constructor may throw what is wrong with
/// the platform's set-up (std::runtime_error, one line); an instance that the set-up does not mention gets default
/// settings.
class Phm_client final : public Phm_client_interface {
 public:
  explicit Phm_client(std::string instance);
  ~Phm_client() override;

  std::string const& instance() const noexcept override;

 private:
  std::string instance_;
};

}  // namespace ara::phm

#endif
