#include "command_service_host.hpp"

#include <zant/velmora_host/contract/system_contract.hpp>

namespace zant::velmora_host::contract {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(CommandService, SystemContract, Command_Service_Host);
INSTANTIATE_TYPED_TEST_SUITE_P(BoundedCommandService, SystemContract, Bounded_Command_Service_Host);

}  // namespace
}  // namespace zant::velmora_host::contract
