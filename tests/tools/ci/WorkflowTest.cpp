// The forge's workflow files are checked against its workflow schema by npm's action-validator
// (installed by scripts/setup.sh): a malformed workflow fails here, not on the forge after a push.

#include "tests/support/Programs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace orrery::testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORRERY_SOURCE_DIR;
const fs::path kValidator = kRoot / "node_modules" / ".bin" / "action-validator";

ProgramRun validate(const fs::path& workflow) {
    const TempDir dir;
    return runProgram({kValidator.string(), workflow.string()}, dir.path);
}

std::vector<fs::path> workflows() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(kRoot / ".github" / "workflows"))
        if (entry.path().extension() == ".yml" || entry.path().extension() == ".yaml") files.push_back(entry.path());
    return files;
}

TEST(Workflows, EveryWorkflowFileFollowsTheSchema) {
    ASSERT_TRUE(fs::exists(kValidator)) << "run scripts/setup.sh: it installs the validator from npm";
    const std::vector<fs::path> files = workflows();
    ASSERT_FALSE(files.empty());
    for (const fs::path& file : files) {
        const ProgramRun run = validate(file);
        EXPECT_EQ(run.status, 0) << file.filename() << ":\n" << run.out << run.err;
    }
}

TEST(Workflows, TheValidatorRejectsWhatTheSchemaForbids) {
    ASSERT_TRUE(fs::exists(kValidator));
    const TempDir dir;
    const std::vector<std::pair<const char*, const char*>> broken{
        {"a misspelt key", "on: push\njobs:\n  a:\n    runs-on: ubuntu-latest\n    stepz:\n      - run: echo\n"},
        {"no trigger", "jobs:\n  a:\n    runs-on: ubuntu-latest\n    steps:\n      - run: echo\n"},
        {"a step that neither runs nor uses",
         "on: push\njobs:\n  a:\n    runs-on: ubuntu-latest\n    steps:\n      - name: x\n"}};
    for (const auto& [what, text] : broken) {
        const fs::path file = dir.path / "broken.yml";
        std::ofstream(file) << text;
        EXPECT_NE(validate(file).status, 0) << what;
    }
}

TEST(Workflows, CiRunsTheLinuxSuiteAndBuildsTheAppOnAMacWithWarningsAsErrors) {
    const std::string ci = readFile(kRoot / ".github" / "workflows" / "ci.yml");
    for (const char* part :
         {"bash .ci/run", "runs-on: macos-", "xcodebuild build", "-scheme OrreryAR",
          "-destination 'generic/platform=iOS'", "CODE_SIGNING_ALLOWED=NO", "GCC_TREAT_WARNINGS_AS_ERRORS=YES"})
        EXPECT_NE(ci.find(part), std::string::npos) << part;
}

}  // namespace
}  // namespace orrery::testing
