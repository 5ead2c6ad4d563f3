// lab_elimination.cpp: the elimination commands of latopt-lab.
#include "lab.h"

namespace latopt::lab {

std::vector<LabCommand> eliminationCommands()
{
    return {};
}

} // namespace latopt::lab
