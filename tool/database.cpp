// SPDX-License-Identifier: MIT
#include "tool/database.h"

#include <sys/stat.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include "tool/failure.h"
#include "tool/paths.h"

namespace tool {

namespace {

// The file that opening the database may make; empty when it is there already or
// the database has none.
std::string file_to_be_made(const std::string &url, const sql::OpenOptions &options) {
    if (!options.create || options.read_only) {
        return "";
    }
    const std::string file = file_of_database(url);
    return access(file.c_str(), F_OK) == 0 ? "" : file;
}

}  // namespace

void declare_database(CLI::App &app, std::string &url) {
    app.add_option("--db", url, "The database: sqlite:FILE")->type_name("URL")->required();
}

void check(const sql::Status &status, const std::string &where) {
    if (!status.ok()) {
        throw Failure(where.empty() ? status.text() : where + ": " + status.text());
    }
}

sql::TableLayout layout_of(const std::string &name, const Xfd &xfd, bool keep_exact) {
    sql::LayoutOptions options;
    options.keep_exact = keep_exact;
    sql::TableLayout layout;
    check(sql::make_layout(xfd, options, &layout), name);
    return layout;
}

Database::Database(const std::string &url, const sql::OpenOptions &options)
    : made_file_(file_to_be_made(url, options)) {
    check(sql::open_connection(url, options, &connection_), "--db " + url);
}

Database::~Database() {
    connection_.reset();
    struct stat status;
    if (!made_file_.empty() && stat(made_file_.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_size == 0) {
        unlink(made_file_.c_str());
    }
}

}  // namespace tool
