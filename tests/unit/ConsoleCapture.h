#pragma once
// Receives every console line, as the console writer's second sink, while it lives.
#include <string>
#include <string_view>
#include <vector>

#include "os/Console.h"

namespace kw {

class ConsoleCapture {
public:
    ConsoleCapture()
    {
        ConsoleWriter::Get().SetSecondSink([this](std::wstring_view line) {
            lines.emplace_back(line);
            return true;
        });
    }
    ~ConsoleCapture() { ConsoleWriter::Get().SetSecondSink({}); }

    std::vector<std::wstring> lines;
};

} // namespace kw
