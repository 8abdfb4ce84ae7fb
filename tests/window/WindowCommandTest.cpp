// orrery-sim --window under SDL's offscreen driver: it opens, records, ends on SIGTERM, and
// its recording replays headless to the same output.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct SimRun {
    int status = -1;  ///< exit status, -1 if it did not exit normally
    std::string out;
};

std::string slurp(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Runs orrery-sim; with `stopAfter`, sends SIGTERM that many seconds after its first output
/// line (the scenario has run; the window opens next and takes SIGTERM as its close button).
SimRun runSim(const fs::path& dir, std::vector<std::string> args, double stopAfter = 0) {
    const std::string out = (dir / "out").string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    args.insert(args.begin(), ORRERY_SIM_BINARY);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    SimRun run;
    pid_t pid;
    if (posix_spawn(&pid, ORRERY_SIM_BINARY, &actions, nullptr, argv.data(), environ) == 0) {
        if (stopAfter > 0) {
            const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
            while (slurp(out).find('\n') == std::string::npos && std::chrono::steady_clock::now() < limit)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            std::this_thread::sleep_for(std::chrono::duration<double>(stopAfter));
            kill(pid, SIGTERM);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = slurp(out);
    return run;
}

TEST(WindowCommand, RecordsWhatReplaysHeadless) {
    if (std::string(ORRERY_SIM_BINARY).empty()) GTEST_SKIP() << "orrery-sim is not built";
    setenv("SDL_VIDEODRIVER", "offscreen", 1);
    // The GL driver's own allocations at exit are not this program's to free.
    std::string asan = std::getenv("ASAN_OPTIONS") ? std::getenv("ASAN_OPTIONS") : "";
    setenv("ASAN_OPTIONS", (asan + (asan.empty() ? "" : ":") + "detect_leaks=0").c_str(), 1);

    std::string pattern = (fs::temp_directory_path() / "orrery-window-test-XXXXXX").string();
    const fs::path dir = mkdtemp(pattern.data());
    {
        std::ofstream scenario(dir / "start.scenario");
        scenario << "camera 0 0 0 -0.558599 -0.702257\ntouch @MarsButton\ndump\n";
    }
    const fs::path record = dir / "session.scenario";
    SimRun live = runSim(dir, {"--window", "--record", record.string(), (dir / "start.scenario").string()}, 2.0);
    ASSERT_EQ(live.status, 0) << live.out;
    const std::string recorded = slurp(record);
    EXPECT_EQ(recorded.rfind("camera 0 0 0 -0.558599 -0.702257\ntouch @MarsButton\ndump\nframe ", 0), 0u) << recorded;
    EXPECT_EQ(recorded.substr(recorded.size() - 5), "dump\n");
    EXPECT_NE(live.out.find("\"selectedBody\":6"), std::string::npos);
    EXPECT_EQ(std::count(live.out.begin(), live.out.end(), '\n'), 2);

    SimRun replay = runSim(dir, {record.string()});
    EXPECT_EQ(replay.status, 0);
    EXPECT_EQ(replay.out, live.out);

    EXPECT_EQ(runSim(dir, {"--record", record.string()}).status, 2);  // --record needs --window
    fs::remove_all(dir);
}

} // namespace
