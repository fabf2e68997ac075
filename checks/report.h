#pragma once

/// @file
/// What the checks write: a table to read, the same as JSON.

#include <string>
#include <vector>

#include "checks/suite.h"

namespace nyx::checks {

/// Whether this process may register for all users.
bool IsAdministrator();

/// "VERSION; Windows 10.0.19045; PROCESSOR, 8 processors": no name of a user or a machine.
nlohmann::json DescribeSystem();

/// A line of the table.
std::string LineOf(const Outcome& outcome);

/// Writes ROOT/report.txt and ROOT/report.json. True when nothing failed.
bool WriteReport(const std::filesystem::path& root, const std::vector<Outcome>& outcomes);

}  // namespace nyx::checks
