#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace Linux {

/// The names of what is installed, however each was come upon, and whose a folder's name is going by them.
class InstalledNames {
public:
    using Set = std::set<std::string, std::less<>>;

    /// "org.example.Editor", with ".desktop" behind it or not.
    void addIdentifier(std::string_view identifier);

    /// A package, the command of a launcher, a folder of /opt: something that is one program's.
    void addProgram(std::string_view name);

    /// Any executable.
    void addExecutable(std::string_view name);

    /// All as they are written, in lower case, and those of helpers.
    const Set& all() const { return all_; }

    /// What no program alone has: nothing is related to it.
    void addShared(std::string_view name) { insert(name); }

    enum class Kinship { own, vendors };

    /// Whether something installed is, or may well be, of the program that is identified so: itself however
    /// it is written, its helper or what it is the helper of, or one that has been named anew.
    /// `Kinship::vendors`: also whatever else is of the same vendor.
    bool claim(std::string_view identifier, Kinship kinship) const;

private:
    bool insert(std::string_view name);
    bool claimsHelper(std::string_view lower) const;
    bool claimsRenamed(std::string_view lower) const;
    bool claimsVendor(std::string_view lower) const;

    Set all_;
    // In lower case.
    Set identifiers_;
    Set beginnings_; // of identifiers, each up to a dot
    Set vendors_;
    // As they can be compared.
    Set programs_;
    Set executables_;
};

} // namespace Linux
