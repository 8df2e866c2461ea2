#pragma once

namespace zant::velmora::Package_Constants {

/// The package that the library looks after, as every package manager knows it.
inline constexpr const char* PACKAGE_NAME = "zant-velmora";

/// The product's word in the addresses of its repositories.
inline constexpr const char* PRODUCT_WORD = "velmora";

}  // namespace zant::velmora::Package_Constants
