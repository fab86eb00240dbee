// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/diag/stats_skeletons_wrapper.h"

namespace orvel::flashwatch::diagnostics {

Stats_skeletons_wrapper::Stats_skeletons_wrapper(std::shared_ptr<Stats_annual_supervision_if> const& supervision,
                                                 std::shared_ptr<Stats_logger_if> const& logger,
                                                 std::shared_ptr<Application_scid_converter_if> const& scid_converter,
                                                 std::string const& own_instance_id)
    : report_(supervision, logger, scid_converter, own_instance_id), budget_(supervision, own_instance_id) {}

void Stats_skeletons_wrapper::offer_services() {
  report_.OfferService();
  budget_.OfferService();
}

void Stats_skeletons_wrapper::stop_offer_services() {
  report_.StopOfferService();
  budget_.StopOfferService();
}

}  // namespace orvel::flashwatch::diagnostics
