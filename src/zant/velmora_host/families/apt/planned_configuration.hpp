#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

/// APT's configuration, sources and preferences as they will be after the next cycle.
namespace zant::velmora_host::apt_outlook {

/// Where a file of the host's is that the next cycle changes: a private one, when it does.
boost::filesystem::path planned_place_of(const Outlook_Question& question,
                                         const boost::filesystem::path& file);

/// Puts copies of the host's files into the private directory, with those that the next cycle writes among
/// them. Nothing when it writes none.
void write_planned_configuration(const Outlook_Question& question);

/// The beginning of a command line that has APT read these files: "env ... ". Empty when nothing is planned.
std::string with_planned_configuration(const Outlook_Question& question);

}  // namespace zant::velmora_host::apt_outlook
