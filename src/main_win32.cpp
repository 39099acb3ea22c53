#include <windows.h>

#include "src/ConflictsDetector.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandLine, int)
{
    return kw::RunProgram(commandLine != nullptr ? commandLine : L"");
}
