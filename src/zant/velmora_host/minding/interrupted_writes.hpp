#pragma once

#include <zant/velmora_host/families/family.hpp>

#include <zant/velmora/host/filesystem.hpp>

namespace zant::velmora_host {

/// Removes the temporary files that killed processes left in the directories that the family's files are
/// installed into. Only while no other process works on the host.
void remove_interrupted_writes(const Family& family, velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
