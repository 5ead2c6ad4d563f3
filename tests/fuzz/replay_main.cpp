// replay_main.cpp: the plain driver of a fuzz target, for builds without libFuzzer. It feeds every
// file of the directories (and files) on its command line to LLVMFuzzerTestOneInput, in name
// order, each in a child process. A child that returns passes. A child that ends through exit()
// while the target runs took the fatal path (failure() is the single exit): that passes only for a
// target that declares LATOPT_FUZZ_FATAL_IS_NORMAL. A signal or any other status, such as a
// sanitizer's report, fails. The exit status is 0 when every input passed.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int latoptFuzzFatalIsNormal();

namespace {

// The status of a child that called exit() from inside the target.
constexpr int FATAL_STOP_STATUS = 97;
bool insideTarget = false;

void markFatalStop()
{
    if (insideTarget) _exit(FATAL_STOP_STATUS);
}

// 0: passed, else the reason for failing.
const char* replay(const std::string& bytes, bool fatalIsNormal)
{
    std::cout.flush();
    std::cerr.flush();
    const pid_t child = fork();
    if (child < 0) return "fork failed";
    if (child == 0) {
        std::atexit(markFatalStop);
        insideTarget = true;
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        insideTarget = false;
        std::exit(0); // through exit, so that a leak checker gets its turn
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) return "wait failed";
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return nullptr;
    if (WIFEXITED(status) && WEXITSTATUS(status) == FATAL_STOP_STATUS)
        return fatalIsNormal ? nullptr : "fatal stop";
    return WIFSIGNALED(status) ? "killed by a signal" : "failing exit status";
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::filesystem::path> inputs;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::directory_iterator(path))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else {
            inputs.push_back(path);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    if (inputs.empty()) {
        std::cerr << "replay: no inputs\n";
        return 1;
    }
    const bool fatalIsNormal = latoptFuzzFatalIsNormal != nullptr;
    long passed = 0;
    long failed = 0;
    for (const std::filesystem::path& input : inputs) {
        std::ifstream file(input, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        const char* reason = replay(bytes, fatalIsNormal);
        if (reason == nullptr) {
            ++passed;
        } else {
            ++failed;
            std::cerr << "replay: " << input.string() << ": " << reason << "\n";
        }
    }
    std::cout << passed << " passed, " << failed << " failed\n";
    return failed == 0 ? 0 : 1;
}
