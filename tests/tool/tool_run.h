// tool_run.h: runs the built tool as a user would, in a scratch directory, and captures what it
// leaves behind: standard output, standard error, exit status and the files.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace latopt::testing_tool {

struct ToolRun {
    int status = -1; // exit status, or -1 if the process didn't exit normally
    int signal = 0;  // the signal that ended it, if one did
    pid_t pid = 0;   // the process id the run had
    std::string out, err;
};

inline std::string slurp(int descriptor)
{
    std::string text;
    char buffer[4096];
    for (ssize_t count; (count = read(descriptor, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(count));
    close(descriptor);
    return text;
}

// Runs the tool with the given argv (argv[0] included) in directory.
inline ToolRun runTool(const std::vector<std::string>& arguments, const std::string& directory)
{
    char outName[] = "/tmp/latopt_run_out_XXXXXX";
    char errName[] = "/tmp/latopt_run_err_XXXXXX";
    const int out = mkstemp(outName);
    const int err = mkstemp(errName);
    ToolRun run;
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(directory.c_str()) != 0) _exit(127);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(LATOPT_BINARY, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    run.pid = child;
    if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
    lseek(out, 0, SEEK_SET);
    lseek(err, 0, SEEK_SET);
    run.out = slurp(out);
    run.err = slurp(err);
    unlink(outName);
    unlink(errName);
    return run;
}

// A fresh scratch directory per test, removed with everything in it afterwards.
class ToolSandbox : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/latopt_tool_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory = pattern;
    }
    void TearDown() override
    {
        for (const std::string& name : listing())
            std::remove(path(name).c_str());
        rmdir(directory.c_str());
    }
    std::string path(const std::string& name) const { return directory + "/" + name; }
    std::set<std::string> listing() const
    {
        std::set<std::string> names;
        DIR* handle = opendir(directory.c_str());
        while (dirent* entry = readdir(handle))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
                names.insert(entry->d_name);
        closedir(handle);
        return names;
    }
    void write(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }
    // The content of a file, or "<missing>" when there is none.
    std::string read(const std::string& name) const
    {
        std::ifstream file(path(name));
        if (!file) return "<missing>";
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    // A program from tests/data/tool as prog.opt.
    void useProgram(const std::string& dataName) const
    {
        std::ifstream source(std::string(LATOPT_TEST_DATA) + "/tool/" + dataName);
        ASSERT_TRUE(source) << dataName;
        std::ostringstream text;
        text << source.rdbuf();
        write("prog.opt", text.str());
    }
    ToolRun run(const std::string& solName = "prog.sol") const
    {
        return runTool({"latopt", solName}, directory);
    }

    std::string directory;
};

} // namespace latopt::testing_tool
