// SPDX-License-Identifier: MIT
#include "tool/xml_entities.h"

#include <algorithm>
#include <set>
#include <vector>

namespace tool {

namespace {

bool is_known_everywhere(std::string_view name) {
    constexpr std::string_view kPredefined[] = {"amp", "apos", "gt", "lt", "quot"};
    return name.starts_with('#') || std::ranges::find(kPredefined, name) != std::end(kPredefined);
}

}  // namespace

void XmlEntities::declare(std::string_view name, std::string_view text) {
    texts_.try_emplace(std::string(name), text);
}

std::optional<std::string> XmlEntities::find_missing(std::string_view text) const {
    std::set<std::string_view> seen;
    std::vector<std::string_view> waiting{text};
    while (!waiting.empty()) {
        const std::string_view next = waiting.back();
        waiting.pop_back();
        size_t end = 0;
        for (size_t i = next.find('&'); i != next.npos; i = next.find('&', end)) {
            end = next.find(';', i);
            if (end == next.npos) {
                break;
            }
            const std::string_view name = next.substr(i + 1, end - i - 1);
            if (is_known_everywhere(name)) {
                continue;
            }
            const auto found = texts_.find(name);
            if (found == texts_.end()) {
                return std::string(name);
            }
            if (seen.insert(name).second) {
                waiting.push_back(found->second);
            }
        }
    }
    return std::nullopt;
}

}  // namespace tool
