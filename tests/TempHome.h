#pragma once
// Points HOME, XDG_CONFIG_HOME, XDG_DATA_HOME and XDG_CONFIG_DIRS at a fresh
// temporary folder for the life of the object, so a test never reads or
// writes the real home. Only the home folder itself is created; the others
// are left for the code under test to create. On destruction the variables
// get their old values back (or are unset again) and the folder is removed,
// after giving back any permissions a test took away.
//
// Create it before anything reads those variables; one at a time.

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

class TempHome {
public:
    TempHome() {
        std::string pattern = (std::filesystem::temp_directory_path() / "fw-home-XXXXXX").string();
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + pattern);
        rootFolder = name.data();
        std::filesystem::create_directory(home());
        for (const auto& [variable, value] : wanted()) {
            const char* old = std::getenv(variable);
            saved.push_back({variable, old != nullptr ? std::optional<std::string>(old) : std::nullopt});
            setenv(variable, value.c_str(), 1);
        }
    }

    ~TempHome() {
        for (const Saved& entry : saved) {
            if (entry.value) {
                setenv(entry.variable, entry.value->c_str(), 1);
            } else {
                unsetenv(entry.variable);
            }
        }
        std::error_code error;
        chmod(rootFolder.c_str(), 0700);
        for (auto it = std::filesystem::recursive_directory_iterator(rootFolder, error);
             !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
            if (it->is_directory(error) && !it->is_symlink(error)) chmod(it->path().c_str(), 0700);
        }
        std::filesystem::remove_all(rootFolder, error);
    }

    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    const std::string& root() const { return rootFolder; }
    std::string home() const { return rootFolder + "/home"; }
    std::string configHome() const { return rootFolder + "/config"; }
    std::string dataHome() const { return rootFolder + "/data"; }
    // The single entry XDG_CONFIG_DIRS is set to.
    std::string configDir() const { return rootFolder + "/xdg"; }

private:
    struct Saved {
        const char* variable;
        std::optional<std::string> value;
    };

    std::vector<std::pair<const char*, std::string>> wanted() const {
        return {{"HOME", home()},
                {"XDG_CONFIG_HOME", configHome()},
                {"XDG_DATA_HOME", dataHome()},
                {"XDG_CONFIG_DIRS", configDir()}};
    }

    std::string rootFolder;
    std::vector<Saved> saved;
};
