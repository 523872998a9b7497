// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "tool/columns.h"
#include "tool/session.h"
#include "tool/show.h"
#include "tool/words.h"
#include "wbfsi/accessors.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

Json text_or_null(const char *text) {
    return text != nullptr && text[0] != '\0' ? Json(to_utf8(text)) : Json(nullptr);
}

Json keys_of(const Xfd &xfd) {
    Json keys = Json::array();
    for (uint32_t i = 0; i < xfd.x_n_keys; i++) {
        const XfdKey &key = xfd.x_key_desc[i];
        Json segments = Json::array();
        for (int s = 0; s < key.k_seg_count && s < XFD_MAX_SEGMENTS; s++) {
            segments.push_back({{"offset", key.k_seg_offset[s]}, {"length", key.k_seg_length[s]}});
        }
        Json columns = Json::array();
        for (uint32_t c = 0; c < key.k_n_fields; c++) {
            const XfdKeyColumn &column = key.k_field[c];
            const uint32_t field = Z4GetXFDKeyColFieldNum(&column);
            columns.push_back({{"name", to_utf8(column.kc_name)},
                               {"field", field == kNoField ? Json(nullptr) : Json(field)}});
        }
        keys.push_back({{"duplicates", key.k_duplicates != 0},
                        {"segments", std::move(segments)},
                        {"columns", std::move(columns)}});
    }
    return keys;
}

Json conditions_of(const Xfd &xfd) {
    Json conditions = Json::array();
    for (uint32_t i = 0; i < xfd.x_n_conditions; i++) {
        const XfdCondition &condition = xfd.x_condition[i];
        Json json = {{"number", i + 1}, {"operator", condition_operator(condition.c_type)}};
        switch (condition.c_type) {
            case XFD_COND_AND:
            case XFD_COND_OR:
                json["operands"] = {Z4GetXFDConditionNum1(&condition),
                                    Z4GetXFDConditionNum2(&condition)};
                break;
            case XFD_COND_OTHER:
                json["field"] = to_utf8(condition.c_variable);
                break;
            default:
                json["field"] = to_utf8(condition.c_variable);
                json["value"] = to_utf8(condition_value(xfd, condition).c_str());
                break;
        }
        json["table"] = text_or_null(condition.c_table);
        conditions.push_back(std::move(json));
    }
    return conditions;
}

Json occurs_of(const XfdField &field) {
    Json occurs = Json::array();
    for (int i = 0; i < field.fd_occurs_depth && i < XFD_MAX_OCCURS; i++) {
        occurs.push_back({{"times", field.fd_max_occurs[i]}, {"index", field.fd_occurs_index[i]}});
    }
    return occurs;
}

Json field_of(const XfdField &field) {
    return {
        {"name", to_utf8(field.fd_name)},
        {"offset", field.fd_offset},
        {"size", field.fd_argument.a_size},
        {"type", field.fd_argument.a_type},
        {"type_name", type_in_words(field.fd_argument.a_type)},
        {"digits", field.fd_argument.a_digits},
        {"scale", field.fd_argument.a_scale},
        {"user_type", field.fd_user_type},
        {"condition", field.fd_cond_num},
        {"level", field.fd_level},
        {"in_key", (field.fd_flags & XFD_FIELD_IN_KEY) != 0},
        {"in_secondary_table", (field.fd_flags & XFD_FIELD_IN_SECONDARY_TABLE) != 0},
        {"hidden", (field.fd_flags & XFD_FIELD_HIDDEN) != 0},
        {"read_only", (field.fd_flags & XFD_FIELD_READ_ONLY) != 0},
        {"identity", (field.fd_flags & XFD_FIELD_IDENTITY) != 0},
        {"occurs", occurs_of(field)},
        {"date_format", text_or_null(field.fd_format)},
        {"sub_table", text_or_null(field.fd_subtable)},
        {"null_value", text_or_null(field.fd_null_value)},
        {"comment",
         text_or_null(field.fd_comment != nullptr ? ZStringGet(field.fd_comment) : nullptr)},
    };
}

}  // namespace

void show_json(std::ostream &out, const Xfd &xfd, bool listed_view) {
    Json fields = Json::array();
    const uint32_t count = shown_field_count(xfd, listed_view);
    for (uint32_t i = 0; i < count; i++) {
        fields.push_back(field_of(xfd.x_fdesc[i]));
    }
    Json json = {
        {"dictionary", text_or_null(xfd.x_filename)},
        {"version", xfd.x_version},
        {"select_name", to_utf8(xfd.x_select_name)},
        {"table", to_utf8(xfd.x_table_name)},
        {"file_type", xfd.x_file_type},
        {"file_type_name", file_type_in_words(xfd.x_file_type)},
        {"trigger", text_or_null(xfd.x_cobol_trigger)},
        {"max_record", xfd.x_max_rec_size},
        {"min_record", xfd.x_min_rec_size},
        {"several_records", (xfd.x_flags & XFD_MULTIPLE_01) != 0},
        {"identity_field", xfd.x_identity_field < 0 ? Json(nullptr) : Json(xfd.x_identity_field)},
        {"cut_short", cut_short_at(xfd) >= 0},
        {"counts",
         {{"fields", xfd.x_n_fields},
          {"total_fields", xfd.x_n_total_fields},
          {"fields_listed", xfd.x_n_fields_listed},
          {"total_fields_listed", xfd.x_n_total_fields_listed}}},
    };
    if (const XfdCvtInfo *cvt = xfd.x_cvt_info) {
        json["numbers"] = {{"sign_compatibility", cvt->cv_sign_compat},
                           {"digits_code", cvt->cv_digits_code},
                           {"point", static_cast<unsigned char>(cvt->cv_period)},
                           {"grouping", static_cast<unsigned char>(cvt->cv_comma)},
                           {"encoding", cvt->cv_encoding}};
    }
    json["keys"] = keys_of(xfd);
    json["conditions"] = conditions_of(xfd);
    json["fields"] = std::move(fields);
    // What the host could not turn into UTF-8 must not end the output.
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace tool
