#pragma once

/// @file
/// What the checks write: a table to read, the same as JSON.

#include <string>
#include <vector>

#include "checks/suite.h"

namespace nyx::checks {

/// Whether this process may register for all users.
bool IsAdministrator();

/// A line of the table.
std::string LineOf(const Outcome& outcome);

/// Writes ROOT/report.txt and ROOT/report.json, without the user's name. True when nothing failed.
bool WriteReport(const std::filesystem::path& root, std::vector<Outcome> outcomes);

}  // namespace nyx::checks
