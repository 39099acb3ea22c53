#include <string>
#include <vector>

#include "src/CommandLine.h"
#include "src/ConflictsDetector.h"
#include "util/strings/StringSystem.h"

// The shell has already split the command line; it is joined again so that the one command
// line grammar serves both platforms and gives back exactly these arguments.
int main(int argc, char** argv)
{
    std::vector<std::wstring> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.push_back(kw::FromUtf8(argv[i]));
    return kw::RunProgram(kw::JoinCommandLine(arguments));
}
