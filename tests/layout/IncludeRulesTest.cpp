// Every #include of the tree against the table of docs/architecture.md: a file may include
// headers of its own folder, of the folders its row names, and of the libraries its row names.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORRERY_SOURCE_DIR;

struct Row {
    std::vector<std::string> folders;    ///< "app/"; or an ending such as "*.mm"
    std::set<std::string> mayFolders;    ///< "platform/"; "*" for any
    std::set<std::string> mayLibraries;  ///< "std", "GLU"...
};

std::string trim(const std::string& s) {
    const auto first = s.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

/// The `ticked` words of a table cell, and the rest of it with them taken out.
std::vector<std::string> ticked(const std::string& cell, std::string* rest = nullptr) {
    std::vector<std::string> words;
    std::size_t at = 0;
    for (std::size_t open; (open = cell.find('`', at)) != std::string::npos;) {
        const std::size_t close = cell.find('`', open + 1);
        if (close == std::string::npos) break;
        if (rest) *rest += cell.substr(at, open - at);
        words.push_back(cell.substr(open + 1, close - open - 1));
        at = close + 1;
    }
    if (rest) *rest += cell.substr(at);
    return words;
}

/// The table under "## The units": the rows after the header and its rule.
std::vector<Row> readTable(const std::string& markdown) {
    std::vector<Row> rows;
    std::istringstream in(markdown);
    std::string line;
    bool inSection = false;
    int tableLine = 0;
    while (std::getline(in, line)) {
        if (line.rfind("## ", 0) == 0) inSection = line == "## The units";
        if (!inSection || line.rfind("|", 0) != 0) continue;
        if (++tableLine <= 2) continue;  // the header and its rule
        std::vector<std::string> cells;
        std::stringstream cellStream(line.substr(1));
        for (std::string cell; std::getline(cellStream, cell, '|');) cells.push_back(cell);
        if (cells.size() < 3) continue;
        Row row;
        row.folders = ticked(cells[0]);
        std::string libraryText;
        for (auto& folder : ticked(cells[2], &libraryText)) row.mayFolders.insert(std::move(folder));
        std::stringstream libraries(libraryText);
        for (std::string name; std::getline(libraries, name, ',');)
            if (!trim(name).empty()) row.mayLibraries.insert(trim(name));
        rows.push_back(std::move(row));
    }
    return rows;
}

/// The folder of a path relative to the root, with a slash: "platform/memory/".
std::string folderOf(const std::string& relative) {
    const auto slash = relative.rfind('/');
    return slash == std::string::npos ? std::string() : relative.substr(0, slash + 1);
}

/// The row of a file: the row naming the file itself, else an ending rule, else the row naming
/// the file's folder, or for tests/ any folder below it.
const Row* rowOf(const std::vector<Row>& rows, const std::string& relative) {
    for (const Row& row : rows)
        if (std::find(row.folders.begin(), row.folders.end(), relative) != row.folders.end()) return &row;
    for (const Row& row : rows)
        for (const auto& folder : row.folders)
            if (folder.rfind("*.", 0) == 0 && relative.size() > folder.size() - 1 &&
                relative.compare(relative.size() - (folder.size() - 1), std::string::npos, folder.substr(1)) == 0)
                return &row;
    const std::string folder = folderOf(relative);
    for (const Row& row : rows)
        if (std::find(row.folders.begin(), row.folders.end(), folder) != row.folders.end()) return &row;
    for (const Row& row : rows)
        for (const auto& f : row.folders)
            if (f == "tests/" && folder.rfind(f, 0) == 0) return &row;
    return nullptr;
}

/// The library an angle-bracket include belongs to.
std::string libraryOf(const std::string& header) {
    const std::pair<const char*, const char*> known[] = {
        {"GL/glu.h", "GLU"},
        {"ft2build.h", "FreeType"},
        {"fontconfig/", "fontconfig"},
        {"pugixml", "pugixml"},
        {"nlohmann/", "nlohmann/json"},
        {"epoxy/egl.h", "EGL"},
        {"epoxy/", "GL"},
        {"GLES3/", "GL"},
        {"emscripten", "emscripten"},
        {"stb", "stb"},
        {"SDL", "SDL2"},
        {"imgui", "ImGui"},
        {"backends/imgui", "ImGui"},
        {"benchmark/", "Google Benchmark"},
        {"assimp/", "Assimp"},
        {"openssl/", "OpenSSL"},
        {"gtest/", "GoogleTest"},
        {"gmock/", "GoogleTest"},
        {"UIKit/", "Apple frameworks"},
        {"SceneKit/", "Apple frameworks"},
        {"ARKit/", "Apple frameworks"},
        {"Foundation/", "Apple frameworks"},
        {"objc/", "Apple frameworks"},
    };
    for (const auto& [prefix, library] : known)
        if (header.rfind(prefix, 0) == 0) return library;
    // The standard headers have no ending; anything else with one is the system's (POSIX).
    return header.find('.') == std::string::npos ? "std" : "system";
}

struct Include {
    std::string header;
    bool quoted;
};

std::vector<Include> includesOf(const fs::path& file) {
    std::vector<Include> found;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        // #include or #import, then "header" or <header>.
        std::size_t at = line.find_first_not_of(" \t");
        if (at == std::string::npos || line[at] != '#') continue;
        at = line.find_first_not_of(" \t", at + 1);
        if (at == std::string::npos) continue;
        const std::string_view rest = std::string_view(line).substr(at);
        const std::size_t word = rest.starts_with("include") ? 7 : rest.starts_with("import") ? 6 : 0;
        if (word == 0) continue;
        const std::size_t open = line.find_first_not_of(" \t", at + word);
        if (open == std::string::npos || (line[open] != '"' && line[open] != '<')) continue;
        const std::size_t close = line.find(line[open] == '"' ? '"' : '>', open + 1);
        if (close == std::string::npos) continue;
        found.push_back({line.substr(open + 1, close - open - 1), line[open] == '"'});
    }
    return found;
}

/// The file a quoted include names, relative to the root: from the root, beside the including
/// file, or in tools/ (the asset generator's include folder).
std::optional<std::string> resolve(const std::string& header, const std::string& from) {
    for (const std::string& base : {std::string(), folderOf(from), std::string("tools/")}) {
        const fs::path candidate = (kRoot / base / header).lexically_normal();
        if (fs::is_regular_file(candidate)) return candidate.lexically_relative(kRoot).generic_string();
    }
    return std::nullopt;
}

std::vector<std::string> sourceFiles() {
    std::vector<std::string> files;
    for (auto it = fs::recursive_directory_iterator(kRoot); it != fs::recursive_directory_iterator(); ++it) {
        const std::string name = it->path().filename().string();
        if (it->is_directory() && (name[0] == '.' || name.rfind("build", 0) == 0 || name == "node_modules" ||
                                   name == "art.scnassets" || name == "OrreryAR.xcodeproj" || name == "docs")) {
            it.disable_recursion_pending();
            continue;
        }
        const std::string ext = it->path().extension().string();
        if (it->is_regular_file() && (ext == ".cpp" || ext == ".h" || ext == ".mm" || ext == ".hpp"))
            files.push_back(it->path().lexically_relative(kRoot).generic_string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

/// Why `file` may not include `include` under `row`, or nothing when it may.
std::optional<std::string> refusal(const Row& row, const std::string& file, const Include& include) {
    if (!include.quoted) {
        const std::string library = libraryOf(include.header);
        if (row.mayLibraries.count(library)) return std::nullopt;
        return "<" + include.header + "> is " + library + ", not in its row";
    }
    const auto target = resolve(include.header, file);
    if (!target) return "\"" + include.header + "\" names no file of the tree";
    const std::string folder = folderOf(*target);
    if (row.mayFolders.count("*") || folder == folderOf(file) || row.mayFolders.count(folder)) return std::nullopt;
    return "\"" + include.header + "\" is in " + folder + ", not in its row";
}

/// Every include outside its row, one line each, for `files` checked against `table`.
std::vector<std::string> violations(const std::vector<Row>& table, const std::vector<std::string>& files) {
    std::vector<std::string> found;
    for (const auto& file : files) {
        const Row* row = rowOf(table, file);
        if (!row) {
            found.push_back(file + ": its folder has no row");
            continue;
        }
        for (const auto& include : includesOf(kRoot / file))
            if (const auto why = refusal(*row, file, include)) found.push_back(file + ": " + *why);
    }
    return found;
}

TEST(IncludeRules, EveryFileIncludesOnlyWhatItsRowAllows) {
    const auto table = readTable(readFile(kRoot / "docs/architecture.md"));
    ASSERT_GE(table.size(), 12u) << "the table of docs/architecture.md was not found";
    const auto files = sourceFiles();
    ASSERT_GT(files.size(), 100u);
    std::string report;
    for (const auto& line : violations(table, files)) report += line + '\n';
    EXPECT_EQ(report, "");
}

/// The rule catches what it is for: each case is a file that breaks one row.
TEST(IncludeRules, TheRowsRefuseWhatTheyLeaveOut) {
    const auto table = readTable(readFile(kRoot / "docs/architecture.md"));
    struct Case {
        const char* file;    ///< a file standing in that folder
        const char* header;  ///< what it includes
        bool quoted;
    };
    const Case cases[] = {
        {"app/X.cpp", "platform/memory/MemoryPlatform.h", true},
        {"content/X.cpp", "nlohmann/json.hpp", false},
        {"render/X.cpp", "platform/memory/MemoryPlatform.h", true},
        {"sim/X.cpp", "render/Renderer.h", true},
        {"sim/X.cpp", "epoxy/gl.h", false},
        {"platform/memory/scene/X.h", "nlohmann/json.hpp", false},
        {"platform/memory/scene/X.h", "platform/memory/CallLog.h", true},
        {"platform/memory/collada/X.h", "platform/memory/CallLog.h", true},
        {"platform/memory/geometry/X.h", "platform/Types.h", true},
        {"platform/memory/text/X.h", "platform/memory/scene/MemoryScene.h", true},
        {"window/X.cpp", "cli/nothing.h", true},
        {"platform/X.h", "unistd.h", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.file) + ": " + c.header);
        const Row* row = rowOf(table, c.file);
        ASSERT_NE(row, nullptr);
        EXPECT_TRUE(refusal(*row, c.file, {c.header, c.quoted}).has_value());
    }
}

}  // namespace
