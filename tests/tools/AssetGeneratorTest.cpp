// The asset generator reproduces the committed models and textures exactly.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <optional>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

const fs::path kAssets = fs::path(ORRERY_SOURCE_DIR) / "art.scnassets";
const std::string kGenerator = ORRERY_ASSETGEN_BINARY;

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

/// Every regular file below `root`, by path relative to it.
std::map<std::string, fs::path> filesBelow(const fs::path& root) {
    std::map<std::string, fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file()) files.emplace(fs::relative(entry.path(), root).generic_string(), entry.path());
    return files;
}

struct PngHeader {
    std::uint32_t width = 0, height = 0;
    int colourType = -1;  // 2 RGB, 6 RGBA
};

std::optional<PngHeader> pngHeader(const std::string& bytes) {
    if (bytes.size() < 33 || bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0 || bytes.compare(12, 4, "IHDR") != 0)
        return std::nullopt;
    auto be32 = [&](std::size_t at) {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = (v << 8) | static_cast<unsigned char>(bytes[at + i]);
        return v;
    };
    return PngHeader{be32(16), be32(20), static_cast<unsigned char>(bytes[25])};
}

class AssetGenerator : public ::testing::Test {
protected:
    void SetUp() override {
        if (kGenerator.empty()) GTEST_SKIP() << "the generator is not part of this build";
        out_ = fs::temp_directory_path() / ("orrery-assetgen-test-" + std::to_string(::getpid()));
        fs::remove_all(out_);
        fs::create_directories(out_);
    }
    void TearDown() override {
        if (!out_.empty()) fs::remove_all(out_);
    }
    /// Runs the generator with `arguments`, each passed as one quoted word.
    int run(std::initializer_list<std::string> arguments) {
        // Appending piece by piece: GCC 12 at -O2 and above reports a false overlap
        // (-Wrestrict) inside std::string for `"literal" + std::string&&`.
        std::string command = quoted(kGenerator);
        for (const auto& argument : arguments) command.append(" ").append(quoted(argument));
        command.append(" > /dev/null 2>&1");
        return std::system(command.c_str());
    }
    static std::string quoted(const std::string& word) { return std::string(1, '"').append(word).append(1, '"'); }
    fs::path out_;
};

TEST_F(AssetGenerator, OutputMatchesCommittedAssets) {
    ASSERT_EQ(run({out_.string()}), 0);
    const auto generated = filesBelow(out_ / "art.scnassets");
    const auto committed = filesBelow(kAssets);
    for (const auto& [name, path] : committed)
        EXPECT_TRUE(generated.contains(name)) << name << " is committed but no longer generated";
    for (const auto& [name, path] : generated) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(committed.contains(name)) << "generated but not committed";
        EXPECT_TRUE(readFile(path) == readFile(committed.at(name)))
            << "differs from the committed file: run tools/regenerate-assets.sh";
    }
    // 35 models with one texture each, plus Saturn's rings.
    int models = 0, textures = 0;
    for (const auto& [name, path] : generated) {
        models += path.extension() == ".dae";
        textures += path.extension() == ".png";
    }
    EXPECT_EQ(models, 35);
    EXPECT_EQ(textures, 36);
}

TEST(AssetFiles, TexturesHaveTheirIntendedFormats) {
    struct Expected {
        const char* file;
        std::uint32_t width, height;
        int colourType;
    };
    for (const auto& e : {Expected{"Earth/Earth.png", 512, 256, 2}, Expected{"Earth/EarthNight.png", 512, 256, 2},
                          Expected{"Stars/Stars.png", 1024, 512, 2}, Expected{"Saturn/SaturnRings.png", 512, 16, 6},
                          Expected{"Buttons/EarthButton/EarthNightButton.png", 512, 128, 2}}) {
        SCOPED_TRACE(e.file);
        const auto header = pngHeader(readFile(kAssets / e.file));
        ASSERT_TRUE(header.has_value());
        EXPECT_EQ(header->width, e.width);
        EXPECT_EQ(header->height, e.height);
        EXPECT_EQ(header->colourType, e.colourType);
    }
    // Distinct bodies get distinct maps (a shader mix-up would repeat one).
    EXPECT_NE(readFile(kAssets / "Earth/Earth.png"), readFile(kAssets / "Earth/EarthNight.png"));
    EXPECT_NE(readFile(kAssets / "Haumea/Haumea.png"), readFile(kAssets / "Eris/Eris.png"));
}

TEST_F(AssetGenerator, FailsCleanlyOnBadArguments) {
    EXPECT_NE(run({}), 0);
    EXPECT_NE(run({out_.string(), "/no/such/font.ttf"}), 0);
}

} // namespace
