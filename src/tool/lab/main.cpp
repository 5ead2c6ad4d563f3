// main.cpp: latopt-lab COMMAND [--ld] [--option=value ...], operands on standard input. The
// commands are the rows of the tables of the command files (lab.h); --help lists them.
#include "lab.h"

#include "base/exceptions.h"

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace latopt::lab {
namespace {

// Every row of every command file, in the order of --help.
std::vector<LabCommand> commandTable()
{
    std::vector<LabCommand> table = eliminationCommands();
    for (const LabCommand& row : lqCommands())
        table.push_back(row);
    for (const LabCommand& row : programCommands())
        table.push_back(row);
    for (const LabCommand& row : searchCommands())
        table.push_back(row);
    return table;
}

void printHelp(const std::vector<LabCommand>& table)
{
    std::cout
        << "Usage: latopt-lab COMMAND [--ld] [OPTION ...]   operands on standard input\n"
        << "Matrices are written [ [ 1 2 ] [ 3/4 -5 ] ], vectors [ 1 2/3 ]; results go to standard output,\n"
        << "one per line, in exact rational text. --ld computes in long double.\n\nCommands:\n";
    for (const LabCommand& row : table) {
        std::string head = "  " + row.name;
        for (const std::string& option : row.options)
            head += " [" + option + "]";
        std::cout << head << "\n      input: " << row.operands << "\n      output: " << row.results << "\n";
    }
}

} // namespace
} // namespace latopt::lab

int main(int argc, char** argv)
{
    using namespace latopt::lab;
    const std::vector<LabCommand> table = commandTable();
    if (argc < 2) fail("no command given (latopt-lab --help lists the commands)");
    const std::string name = argv[1];
    if (name == "--help" || name == "-h") {
        printHelp(table);
        return 0;
    }
    const LabCommand* command = nullptr;
    for (const LabCommand& row : table)
        if (row.name == name) command = &row;
    if (command == nullptr) fail("unknown command \"" + name + "\" (latopt-lab --help lists the commands)");

    // Options: --ld for every command, and those the command's row names ("--restart=K").
    bool longDouble = false;
    std::map<std::string, std::string> options;
    for (int k = 2; k < argc; ++k) {
        const std::string argument = argv[k];
        if (argument == "--ld") {
            longDouble = true;
            continue;
        }
        // A command whose first option is a word without "--" takes one file name.
        const bool takesFile = !command->options.empty() && command->options.front().rfind("--", 0) != 0;
        if (takesFile && argument.rfind("--", 0) != 0 && options.count("file") == 0) {
            options["file"] = argument;
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string key = argument.substr(0, equals);
        bool known = false;
        for (const std::string& option : command->options)
            known = known || option.substr(0, option.find('=')) == key;
        if (!known || argument.rfind("--", 0) != 0 || equals == std::string::npos)
            fail("unknown option \"" + argument + "\" for " + name);
        options[key.substr(2)] = argument.substr(equals + 1);
    }

    LabIo io(name, std::cin, std::cout, options);
    try {
        (longDouble ? command->standard : command->exact)(io);
    } catch (const latopt::PrecisionException& exception) {
        // In long double a value left the trusted range; the exact run has no such limit.
        fail(name + ": " + exception.what());
    }
    std::cout.flush();
    return 0;
}
