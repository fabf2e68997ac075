#pragma once

#include <string>
#include <string_view>

namespace nyx::host {

/// Writes UTF-8 text to the standard output: as characters to a console, as bytes to a pipe or
/// file. Failure kOutput when not all of it gets there.
void Print(std::string_view text);

/// The same to the standard error, without a failure.
void PrintAside(std::string_view text);

/// "error: <message>" or "warning: <message>" and a line end on the standard error, coloured when
/// that is a console.
void PrintError(std::string_view message);
void PrintWarning(std::string_view message);

/// The columns of the console behind the standard error, as wide as it is now; 0 where there is
/// none.
int ConsoleColumns();

}  // namespace nyx::host
