#pragma once

#include <string>
#include <string_view>

namespace nyx::host {

/// Writes UTF-8 text to the standard output: as characters to a console, as bytes to a pipe or
/// file. Failure kOutput when part of it cannot be written.
void Print(std::string_view text);

/// From now on appends all that Print() writes to `copy`, too; null ends it.
void CopyPrintedTo(std::string* copy);

/// From now on the standard output carries a command's data and Print() writes to the standard
/// error. Failure kUsage when the standard output is a console.
void UseStandardOutputForData();

/// Writes to the standard error in the same way; ignores failures.
void PrintAside(std::string_view text);

/// "error: <message>" or "warning: <message>" and a line end on the standard error, coloured when
/// that is a console.
void PrintError(std::string_view message);
void PrintWarning(std::string_view message);

/// The present width in columns of the console behind the standard error; 0 without a console.
int ConsoleColumns();

/// From now on Ctrl+C, Ctrl+Break and closing the console set Interrupted() instead of ending the
/// process, so that files and graphs are closed properly.
void WatchForInterrupt();

/// True once the user has interrupted the program; any thread.
bool Interrupted();

}  // namespace nyx::host
