#pragma once
// Reads the old-style (OpenStep) property lists that Xcode writes its projects in, by turning
// them into JSON: dictionaries { key = value; } become objects, arrays ( a, b, ) arrays, and
// quoted or bare strings and <hex data> strings that keep their text; /* */ and // comments go.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orrery::testing {

/// The property list in `s` as JSON; throws on malformed input.
inline nlohmann::json readOldStylePlist(const std::string& s) {
    std::string json, last;  // the JSON so far; its last string
    std::vector<std::pair<char, std::set<std::string>>> open;  // the brackets still open, with their keys
    auto fail = [](std::size_t at) -> void {
        throw std::runtime_error("old-style property list: cannot read at offset " + std::to_string(at));
    };
    auto bare = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || std::string_view("_$+/:.-").find(c) != std::string_view::npos; };
    auto inside = [&](char bracket) { return !open.empty() && open.back().first == bracket; };
    for (std::size_t i = 0, end = 0; i < s.size(); i = end) {
        const char c = s[i];
        end = i + 1;
        if (s.compare(i, 2, "/*") == 0) {
            end = std::min(s.find("*/", i + 2), s.size()) + 2;
        } else if (s.compare(i, 2, "//") == 0) {
            end = s.find('\n', i);
        } else if (c == '"' || c == '<' || bare(c)) {  // old-style escapes that JSON lacks fail to parse
            if (c == '"') {
                while (end < s.size() && s[end] != '"') end += s[end] == '\\' ? 2 : 1;
                last = s.substr(i, ++end - i);
            } else {
                end = c == '<' ? std::min(s.find('>', i), s.size()) + 1 : std::find_if_not(s.begin() + i, s.end(), bare) - s.begin();
                last = nlohmann::json(s.substr(i, end - i)).dump();
            }
            json += last;
        } else if (c == '{' || c == '(') {
            open.push_back({c, {}});
            json += c == '{' ? '{' : '[';
        } else if (c == '}' || c == ')') {
            // A dictionary's last entry ends in ';', an array's last item may end in ','.
            if (!inside(c == '}' ? '{' : '(') || (c == '}' && !json.ends_with(',') && !json.ends_with('{'))) fail(i);
            if (json.ends_with(',')) json.pop_back();
            open.pop_back();
            json += c == '}' ? '}' : ']';
        } else if (c == '=' || c == ';' || c == ',') {
            if (!inside(c == ',' ? '(' : '{') || (c == '=' && !open.back().second.insert(last).second)) fail(i);  // a key given twice
            json += c == '=' ? ':' : ',';
        } else if (!std::isspace(static_cast<unsigned char>(c))) {
            fail(i);
        }
    }
    return nlohmann::json::parse(json);
}

} // namespace orrery::testing
