#include <zant/velmora/package_minder/velmora_version_info.hpp>

namespace zant::velmora::Velmora_Version_Info {

const char* const VERSION = PACKAGE_MINDER_VERSION;

}  // namespace zant::velmora::Velmora_Version_Info
