#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <string>

namespace zant::velmora_host {

/// The settings of a host without a settings file.
const Settings& usual_settings();

/// A question at 2026-11-22T12:00:00Z.
Outlook_Question question_of(const Host_Services& services, velmora::Init init = velmora::Init::systemd);

/// The text of a `Host_In_Text` on which nothing is amiss: anything would keep what is fed from coming into
/// play.
std::string text_of_healthy_host(const Family& family, const std::string& file);

/// Asks a family about a host. Whatever the tools say, no exception may come of it, and what is found must be
/// as `require_tellable` has it.
void try_outlook_of(const Family& family, const Host_Services& services, bool is_online = false);

/// Requires that what was found can be told: the verdict that a service makes of it is bounded, has remedies
/// that can be typed, does no harm to a terminal or to a program that reads it, and is the same after it has
/// been kept in a file.
void require_tellable(const Upgrade_Outlook& outlook);
void require_tellable(const Causes& causes);

/// The same of a verdict that may come from a file, whose bounds are what they are.
void require_tellable(const Verdict& verdict);

/// Requires that a text has nothing in it that a terminal would obey.
void require_harmless(const std::string& text);

}  // namespace zant::velmora_host
