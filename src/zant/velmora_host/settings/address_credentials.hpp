#pragma once

#include <string>

/// User names and passwords in addresses.
///
/// An address goes into files that everybody may read, into command lines and into logs.
namespace zant::velmora_host::address_credentials {

/// Whether the address has a user name, with or without a password, before its host; so has one whose
/// password holds a slash, which ends the host's part too early.
bool are_in(const std::string& address);

/// The text, to be shown, with "***" for what may be credentials: all from "://" to the last "@", or from the
/// beginning where the scheme was forgotten.
std::string masked(const std::string& text);

}  // namespace zant::velmora_host::address_credentials
