// SPDX-License-Identifier: MIT
#include "tool/verify_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "tool/columns.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kIndent = "  ";
constexpr const char *kNoField = "(no field)";

std::string counted(uint64_t n, const char *one, const char *many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

std::string number_or_nothing(uint64_t n) {
    return n == 0 ? "" : std::to_string(n);
}

// The last of the findings is that of the bytes of no field.
std::string name_of(const VerifyReport &report, size_t field) {
    return field < report.layout.fields.size() ? report.layout.fields[field].name : kNoField;
}

void print_fields(std::ostream &out, const VerifyReport &report) {
    const std::vector<FieldFindings> &findings = report.fields.findings();
    if (std::ranges::none_of(findings, &FieldFindings::has_any)) {
        return;
    }
    Columns columns({{"Field", Columns::kLeft},
                     {"Null value", Columns::kRight},
                     {"Spaces", Columns::kRight},
                     {"Low values", Columns::kRight},
                     {"High values", Columns::kRight},
                     {"Bad number", Columns::kRight},
                     {"Bad date", Columns::kRight},
                     {"Bad text", Columns::kRight},
                     {"Other form", Columns::kRight}});
    for (size_t i = 0; i < findings.size(); i++) {
        if (!findings[i].has_any()) {
            continue;
        }
        std::vector<std::string> row{without_controls(name_of(report, i))};
        for (const uint64_t count : findings[i].counts) {
            row.push_back(number_or_nothing(count));
        }
        columns.add(std::move(row));
    }
    out << "Found in fields\n";
    columns.print(out, kIndent);
    out << '\n';
}

void print_field_places(std::ostream &out, const VerifyReport &report) {
    const std::vector<FieldFindings> &findings = report.fields.findings();
    Columns columns({{"Field", Columns::kLeft},
                     {"Found", Columns::kLeft},
                     {"Record", Columns::kRight},
                     {"Offset", Columns::kRight},
                     {"Bytes", Columns::kLeft}});
    bool has_places = false;
    for (size_t i = 0; i < findings.size(); i++) {
        for (const FieldPlace &place : findings[i].places) {
            columns.add({without_controls(name_of(report, i)), in_words(place.finding),
                         std::to_string(place.record), std::to_string(place.offset), place.bytes});
            has_places = true;
        }
    }
    if (has_places) {
        out << "First places\n";
        columns.print(out, kIndent);
        out << '\n';
    }
}

void print_differences(std::ostream &out, const TableVerifier &table) {
    if (table.places().empty()) {
        return;
    }
    Columns columns({{"Record", Columns::kRight},
                     {"Is", Columns::kLeft},
                     {"Offset", Columns::kRight},
                     {"Field", Columns::kLeft},
                     {"In the file", Columns::kLeft},
                     {"In the table", Columns::kLeft}});
    for (const TablePlace &place : table.places()) {
        const bool is_different = place.difference == Difference::kDifferent;
        std::string column = place.column.empty() ? kNoField : place.column;
        columns.add({std::to_string(place.record), in_words(place.difference),
                     is_different ? std::to_string(place.offset) : "",
                     is_different ? without_controls(column) : "", place.in_file,
                     place.in_table + without_controls(place.reason)});
    }
    out << "First differences\n";
    columns.print(out, kIndent);
    out << '\n';
}

void print_table_summary(std::ostream &out, const VerifyReport &report) {
    const TableVerifier &table = *report.table;
    out << counted(table.same_records(), "record is", "records are") << " the same in table "
        << without_controls(report.layout.table) << " of " << report.database << ", matched by "
        << (table.is_by_number() ? "number" : "primary key");
    for (size_t i = 0; i < kDifferences; i++) {
        const auto difference = static_cast<Difference>(i);
        if (table.count(difference) != 0) {
            out << "; " << table.count(difference) << ' ' << in_words(difference);
        }
    }
    out << '\n';
}

Json places_json(const VerifyReport &report) {
    Json json = Json::array();
    const std::vector<FieldFindings> &findings = report.fields.findings();
    for (size_t i = 0; i < findings.size(); i++) {
        for (const FieldPlace &place : findings[i].places) {
            json.push_back({{"field", i < report.layout.fields.size() ? Json(name_of(report, i))
                                                                      : Json(nullptr)},
                            {"found", in_words(place.finding)},
                            {"record", place.record},
                            {"offset", place.offset},
                            {"bytes", place.bytes}});
        }
    }
    return json;
}

Json fields_json(const VerifyReport &report) {
    Json json = Json::array();
    const std::vector<FieldFindings> &findings = report.fields.findings();
    for (size_t i = 0; i < findings.size(); i++) {
        if (!findings[i].has_any()) {
            continue;
        }
        Json field = {
            {"name", i < report.layout.fields.size() ? Json(name_of(report, i)) : Json(nullptr)}};
        for (size_t f = 0; f < kFindings; f++) {
            std::string key = in_words(static_cast<Finding>(f));
            std::ranges::replace(key, ' ', '_');
            field[key] = findings[i].counts[f];
        }
        json.push_back(std::move(field));
    }
    return json;
}

Json table_json(const VerifyReport &report) {
    const TableVerifier &table = *report.table;
    Json json = {{"database", report.database},
                 {"table", report.layout.table},
                 {"matched_by", table.is_by_number() ? "number" : "primary key"},
                 {"same", table.same_records()}};
    for (size_t i = 0; i < kDifferences; i++) {
        json[in_words(static_cast<Difference>(i))] = table.count(static_cast<Difference>(i));
    }
    Json places = Json::array();
    for (const TablePlace &place : table.places()) {
        Json one = {{"record", place.record}, {"is", in_words(place.difference)}};
        if (place.difference == Difference::kDifferent) {
            one["offset"] = place.offset;
            one["field"] = place.column.empty() ? Json(nullptr) : Json(place.column);
            one["in_file"] = place.in_file;
            one["in_table"] = place.in_table;
        } else if (place.difference == Difference::kUnreadable) {
            one["reason"] = place.reason;
        }
        places.push_back(std::move(one));
    }
    json["places"] = std::move(places);
    return json;
}

}  // namespace

void print_verify_text(std::ostream &out, const VerifyReport &report) {
    const FieldVerifier &fields = report.fields;
    print_fields(out, report);
    print_field_places(out, report);
    if (!fields.first_untyped().empty()) {
        out << "First records for which no condition holds\n" << kIndent;
        const char *gap = "";
        for (const uint64_t record : fields.first_untyped()) {
            out << gap << record;
            gap = ", ";
        }
        out << "\n\n";
    }
    if (report.table != nullptr) {
        print_differences(out, *report.table);
    }

    out << report.data_file << ": " << counted(fields.records(), "record", "records")
        << " verified, " << fields.faulty_records() << " with contents that no column takes";
    if (report.has_types) {
        out << ", " << fields.untyped_records() << " for which no condition holds";
    }
    out << '\n';
    if (fields.inexact_records() != 0) {
        out << counted(fields.inexact_records(),
                       "record is not told by its columns alone: a load keeps its exact bytes",
                       "records are not told by their columns alone: a load keeps their exact "
                       "bytes")
            << '\n';
    }
    if (report.table != nullptr) {
        print_table_summary(out, report);
    }
}

void print_verify_json(std::ostream &out, const VerifyReport &report) {
    const FieldVerifier &fields = report.fields;
    const Json json = {
        {"file", report.data_file},
        {"records", fields.records()},
        {"faulty", fields.faulty_records()},
        {"untyped", report.has_types ? Json(fields.untyped_records()) : Json(nullptr)},
        {"kept_exact", fields.inexact_records()},
        {"fields", fields_json(report)},
        {"places", places_json(report)},
        {"first_untyped", fields.first_untyped()},
        {"comparison", report.table != nullptr ? table_json(report) : Json(nullptr)}};
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace tool
