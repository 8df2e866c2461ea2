#pragma once

#include <zant/velmora/export.hpp>

namespace zant::velmora::Velmora_Version_Info {

/// The product's version, such as "1.0.0": what an installation made outside Chocolatey is adopted as.
extern PACKAGE_MINDER_EXPORT const char* const VERSION;

}  // namespace zant::velmora::Velmora_Version_Info
