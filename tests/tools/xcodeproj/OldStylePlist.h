#pragma once
// A reader for the old-style (OpenStep) property lists that Xcode writes its projects in:
// dictionaries { key = value; }, arrays ( a, b, ), quoted or bare strings, <hex data>, and
// /* */ and // comments. Values keep their text; nothing is interpreted beyond structure.

#include <cctype>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orrery::testing {

struct PlistValue;
using PlistDict = std::map<std::string, PlistValue>;
using PlistArray = std::vector<PlistValue>;

struct PlistValue {
    std::variant<std::string, PlistArray, PlistDict> value;

    const std::string* string() const { return std::get_if<std::string>(&value); }
    const PlistArray* array() const { return std::get_if<PlistArray>(&value); }
    const PlistDict* dict() const { return std::get_if<PlistDict>(&value); }
    PlistDict* dict() { return std::get_if<PlistDict>(&value); }
    PlistArray* array() { return std::get_if<PlistArray>(&value); }
    /// The string under `key` of a dictionary, or nothing.
    std::optional<std::string> text(const std::string& key) const {
        const PlistDict* d = dict();
        if (!d) return std::nullopt;
        auto it = d->find(key);
        if (it == d->end() || !it->second.string()) return std::nullopt;
        return *it->second.string();
    }
    const PlistValue* at(const std::string& key) const {
        const PlistDict* d = dict();
        if (!d) return nullptr;
        auto it = d->find(key);
        return it == d->end() ? nullptr : &it->second;
    }
};

class OldStylePlistReader {
public:
    /// Reads a whole file's text; throws std::runtime_error with the offset on malformed input.
    static PlistValue read(const std::string& text) {
        OldStylePlistReader reader(text);
        PlistValue value = reader.value();
        reader.skipSpace();
        if (reader.at_ != text.size()) reader.fail("text after the top-level value");
        return value;
    }

private:
    explicit OldStylePlistReader(const std::string& text) : text_(text) {}

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("old-style property list, offset " + std::to_string(at_) + ": " + what);
    }

    void skipSpace() {
        while (at_ < text_.size()) {
            if (std::isspace(static_cast<unsigned char>(text_[at_]))) {
                ++at_;
            } else if (text_.compare(at_, 2, "/*") == 0) {
                auto end = text_.find("*/", at_ + 2);
                if (end == std::string::npos) fail("unterminated comment");
                at_ = end + 2;
            } else if (text_.compare(at_, 2, "//") == 0) {
                auto end = text_.find('\n', at_);
                at_ = end == std::string::npos ? text_.size() : end + 1;
            } else {
                return;
            }
        }
    }

    void expect(char c) {
        skipSpace();
        if (at_ >= text_.size() || text_[at_] != c) fail(std::string("expected '") + c + "'");
        ++at_;
    }

    bool peek(char c) {
        skipSpace();
        return at_ < text_.size() && text_[at_] == c;
    }

    static bool isBare(char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || std::string_view("_$+/:.-").find(c) != std::string_view::npos;
    }

    std::string string() {
        skipSpace();
        if (at_ >= text_.size()) fail("expected a string");
        if (text_[at_] == '"') {
            std::string out;
            for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
                char c = text_[at_];
                if (c == '\\') {
                    if (++at_ >= text_.size()) break;
                    c = text_[at_];
                    c = c == 'n' ? '\n' : c == 't' ? '\t' : c;
                }
                out += c;
            }
            if (at_ >= text_.size()) fail("unterminated string");
            ++at_;
            return out;
        }
        auto start = at_;
        while (at_ < text_.size() && isBare(text_[at_])) ++at_;
        if (at_ == start) fail("expected a string");
        return text_.substr(start, at_ - start);
    }

    PlistValue value() {
        skipSpace();
        if (peek('{')) {
            ++at_;
            PlistDict dict;
            while (!peek('}')) {
                std::string key = string();
                expect('=');
                PlistValue v = value();
                expect(';');
                if (!dict.emplace(std::move(key), std::move(v)).second) fail("a key given twice");
            }
            ++at_;
            return {std::move(dict)};
        }
        if (peek('(')) {
            ++at_;
            PlistArray array;
            while (!peek(')')) {
                array.push_back(value());
                if (!peek(')')) expect(',');
            }
            ++at_;
            return {std::move(array)};
        }
        if (peek('<')) {
            auto end = text_.find('>', at_);
            if (end == std::string::npos) fail("unterminated data");
            std::string data = text_.substr(at_, end + 1 - at_);
            at_ = end + 1;
            return {std::move(data)};
        }
        return {string()};
    }

    const std::string& text_;
    std::size_t at_ = 0;
};

} // namespace orrery::testing
