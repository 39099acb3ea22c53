#pragma once
// What a rule reports, as data: the rule, what the two packages collide on, and each package's
// side of it. Findings are made once, never changed, and shared by the lists that carry them
// (from the worker that found them to whoever reports them); how they read is the reports'
// business.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kw {

// What a value of a finding is. Every value is text, as the package holds it (integers in
// decimal, a registry root as its number).
enum class FindingField : std::uint8_t {
    ComponentId,
    Component,
    Folder, // a symbolic full path, as directory resolution writes it
    FileName,
    Version,
    FileSize,
    Language,
    ModuleId,
    Root,
    Key,
    Name,
    Value,
    Section,
    DataSource,
    Driver,
    Extension,
    Verb,
    Code,
    KeyPath,
    Table,
    Entry,
    MergeModule,
    ModuleVersion,
    ModulePath,
};

struct FindingValue {
    FindingField field;
    std::wstring text;

    bool operator==(const FindingValue&) const = default;
};

// A package as findings name it: its ProductName and its path as the run was given it.
struct PackageIdentity {
    std::wstring name;
    std::wstring path;

    bool operator==(const PackageIdentity&) const = default;
};

struct FindingSide {
    std::shared_ptr<const PackageIdentity> package;
    std::vector<FindingValue> values;
};

struct ConflictFinding {
    std::wstring ruleId; // "CR1" .. "CR19"
    std::vector<FindingValue> subject; // what both packages have
    // As the rule names them: the package under test first, except where the rule says which
    // side each package is on (the one that edits an INI file, the one that has a file).
    std::array<FindingSide, 2> sides;
};

// The reference count of a shared_ptr is atomic: lists made on workers are read by the report.
using FindingHandle = std::shared_ptr<const ConflictFinding>;

// In the order the rule found them; empty when there is no conflict of the rule's kind.
using FindingList = std::vector<FindingHandle>;

} // namespace kw
