#pragma once
// Files, scratch folders and child processes for the tests that run the project's programs.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace orrery::testing {

namespace fs = std::filesystem;

/// The whole file, byte for byte; empty when it cannot be read.
/// Every regular file below `root`, by path relative to it.
inline std::map<std::string, fs::path> filesBelow(const fs::path& root) {
    std::map<std::string, fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file()) files.emplace(fs::relative(entry.path(), root).generic_string(), entry.path());
    return files;
}

inline std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A new empty folder under the system's temporary folder, removed with everything in it.
class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "orrery-test-XXXXXX").string();
        path = ::mkdtemp(pattern.data());
    }
    ~TempDir() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    fs::path path;
};

struct ProgramRun {
    bool exited = false;  ///< ended by exit rather than by a signal
    int status = -1;      ///< exit status when exited
    std::string out, err;
};

/// Runs `argv` (the program first) in `dir` with `input` on standard input and `extraEnv`
/// ("NAME=value") added to this process's environment. With `stopAfter`, sends SIGTERM that
/// many seconds after the first line of standard output.
inline ProgramRun runProgram(std::vector<std::string> argv, const fs::path& dir, const std::string& input = "",
                             std::vector<std::string> extraEnv = {}, double stopAfter = 0) {
    const fs::path in = dir / ".stdin", out = dir / ".stdout", err = dir / ".stderr";
    std::ofstream(in, std::ios::binary) << input;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
    std::vector<char*> args, env;
    for (auto& a : argv) args.push_back(a.data());
    args.push_back(nullptr);
    for (auto& e : extraEnv) env.push_back(e.data());
    for (char** e = environ; *e; ++e) env.push_back(*e);
    env.push_back(nullptr);

    ProgramRun run;
    pid_t pid = 0;
    if (::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), env.data()) == 0) {
        if (stopAfter > 0) {
            const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
            while (readFile(out).find('\n') == std::string::npos && std::chrono::steady_clock::now() < limit)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            std::this_thread::sleep_for(std::chrono::duration<double>(stopAfter));
            ::kill(pid, SIGTERM);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        run.exited = WIFEXITED(status);
        run.status = run.exited ? WEXITSTATUS(status) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    run.out = readFile(out);
    run.err = readFile(err);
    return run;
}

}  // namespace orrery::testing
