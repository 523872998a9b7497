// SPDX-License-Identifier: MIT
//
// wbfsi: COBOL file dictionaries shown and located, their records moved into a
// database and back.  This file holds the table of commands and turns options and
// exceptions into exit statuses; the commands have a file each.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <vector>

#include "tool/columns.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/session.h"
#include "tool/version.h"

namespace {

struct CommandRow {
    const char *name;
    const char *summary;
    tool::Declare declare;
};

constexpr CommandRow kCommands[] = {
    {"show", "Print a dictionary: identity, keys, conditions, fields, record ruler",
     tool::declare_show},
    {"locate", "Say which dictionary files were tried and which one was taken",
     tool::declare_locate},
    {"convert", "Write a dictionary in its other form: text as XML, XML as text",
     tool::declare_convert},
    {"ddl", "Print the CREATE statements of a dictionary's table and indexes", tool::declare_ddl},
    {"cat", "Print the records of a file: as a table, CSV, JSON or one field a line",
     tool::declare_cat},
    {"load", "Move the records of a file into a database table", tool::declare_load},
    {"unload", "Write the records of a database table to a file", tool::declare_unload},
    {"verify", "Say what the fields of a file hold and whether a table holds its records",
     tool::declare_verify},
    {"compare", "Compare two dictionaries item by item", tool::declare_compare},
    {"match", "Say which columns and indexes of a database stand for fields and keys",
     tool::declare_match},
    {"errmap", "Show an error-map file and what is wrong with it", tool::declare_errmap},
    {"date", "Convert a date field of a COBOL record to an ISO date, or back", tool::declare_date},
    {"xml", "Write an XML document anew: tidied, in another encoding, record by record",
     tool::declare_xml},
};

struct Command {
    CLI::App *app = nullptr;
    tool::Action action;
    tool::Settings settings;
};

int fail(const std::string &command, const std::string &text, int status) {
    std::cout.flush();
    std::cerr << "wbfsi " << command << ": " << tool::without_controls(text) << '\n';
    return status;
}

int run(Command &command) {
    const tool::Session session;
    command.settings.apply();
    const int status = command.action();
    std::cout.flush();
    if (!std::cout) {
        throw tool::Failure("the output cannot be written");
    }
    return status;
}

// Prints help and version to the output; everything else CLI11 reports is a
// mistake in the command line.
int report_parse_error(const CLI::App &app, const CLI::ParseError &error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        app.exit(error);
        std::cout.flush();
        return std::cout ? tool::kDone : tool::kFatal;
    }
    std::string where = "wbfsi";
    for (const CLI::App *sub : app.get_subcommands()) {
        where += " " + sub->get_name();
    }
    std::cerr << where << ": " << tool::without_controls(error.what()) << "; \"" << where
              << " --help\" shows the usage\n";
    return tool::kFatal;
}

int run_command_line(int argc, char **argv) {
    CLI::App app("COBOL files in SQL databases: dictionaries, tables, records.", "wbfsi");
    app.set_version_flag("--version", tool::version_line());
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done, 1 differences or not found, 2 usage or fatal error,\n"
        "3 some records rejected.  The manual page wbfsi(1) says more.");

    std::vector<Command> commands(std::size(kCommands));
    for (size_t i = 0; i < commands.size(); i++) {
        CLI::App *sub = app.add_subcommand(kCommands[i].name, kCommands[i].summary);
        sub->set_version_flag("--version", tool::version_line());
        commands[i].app = sub;
        commands[i].action = kCommands[i].declare(*sub);
        commands[i].settings.declare(*sub);
    }

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return report_parse_error(app, error);
    }
    for (Command &command : commands) {
        if (!command.app->parsed()) {
            continue;
        }
        const std::string name = command.app->get_name();
        try {
            return run(command);
        } catch (const tool::Failure &failure) {
            return fail(name, failure.what(), failure.status());
        } catch (const std::bad_alloc &) {
            return fail(name, "out of memory", tool::kFatal);
        } catch (const std::exception &error) {
            return fail(name, error.what(), tool::kFatal);
        }
    }
    return tool::kFatal;
}

}  // namespace

int main(int argc, char **argv) {
    // What a command throws is reported beside its name; this is for a table of
    // commands that cannot even be set up.
    try {
        return run_command_line(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "wbfsi: %s\n", error.what());
        return tool::kFatal;
    }
}
