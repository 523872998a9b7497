// SPDX-License-Identifier: MIT
//
// What every command of the tool has: its row in the table of main.cpp.
#ifndef TOOL_COMMAND_H
#define TOOL_COMMAND_H

#include <functional>

namespace CLI {
class App;
}

namespace tool {

// What a command does once its options are parsed; returns the exit status.
using Action = std::function<int()>;

// Declares the command's arguments and options on `app` and returns its action,
// which owns what they were parsed into.  The action runs after the library has
// started and before it is shut down.
using Declare = Action (*)(CLI::App &app);

Action declare_show(CLI::App &app);
Action declare_locate(CLI::App &app);
Action declare_convert(CLI::App &app);
Action declare_ddl(CLI::App &app);
Action declare_cat(CLI::App &app);
Action declare_load(CLI::App &app);
Action declare_unload(CLI::App &app);
Action declare_verify(CLI::App &app);
Action declare_compare(CLI::App &app);
Action declare_match(CLI::App &app);
Action declare_errmap(CLI::App &app);
Action declare_date(CLI::App &app);
Action declare_xml(CLI::App &app);

}  // namespace tool

#endif
