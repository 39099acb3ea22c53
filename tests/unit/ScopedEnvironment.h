#pragma once
// Sets or removes an environment variable for the life of the object, then puts it back.
#include <cstdlib>
#include <optional>
#include <string>

namespace kw {

class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::optional<std::string>& value) : name_(name)
    {
        if (const char* old = std::getenv(name))
            old_ = old;
        Set(value);
    }
    ~ScopedEnvironment() { Set(old_); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void Set(const std::optional<std::string>& value)
    {
#ifdef _WIN32
        _putenv_s(name_.c_str(), value ? value->c_str() : "");
#else
        if (value)
            setenv(name_.c_str(), value->c_str(), 1);
        else
            unsetenv(name_.c_str());
#endif
    }

    std::string name_;
    std::optional<std::string> old_;
};

} // namespace kw
