#pragma once
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "linux/desktop/DesktopEntries.h"
#include "support/TemporaryFolder.h"

namespace tessaly::test {

/// A desktop of its own: user's and system's folders, programs, a home. The environment is put back afterwards.
class DesktopTest : public testing::Test {
protected:
    DesktopTest() {
        set("HOME", path("home"));
        set("XDG_CONFIG_HOME", path("config"));
        set("XDG_CONFIG_DIRS", path("etc"));
        set("XDG_DATA_HOME", path("user"));
        set("XDG_DATA_DIRS", path("local") + ":" + path("system"));
        set("XDG_CURRENT_DESKTOP", "Phosh:GNOME");
        set("XDG_RUNTIME_DIR", path("runtime"));
        set("TMPDIR", path("tmp"));
        set("PATH", path("bin") + ":/usr/bin:/bin");
        for (const char* folder : {"home", "runtime", "tmp"}) std::filesystem::create_directory(path(folder));
        program("viewer", "exit 0");
    }
    ~DesktopTest() override {
        for (const auto& [name, value] : before_)
            value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }

    [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }
    std::string write(const std::string& name, std::string_view content) const { return folder_.write(name, content); }
    /// A script in $PATH.
    std::string program(const std::string& name, const std::string& script) const {
        std::string file = write("bin/" + name, "#!/bin/sh\n" + script + "\n");
        ::chmod(file.c_str(), 0755);
        return file;
    }
    /// A program that writes each of its arguments, and a NUL behind it, to a file that then takes its name.
    std::string recorder(const std::string& name) const {
        const std::string record = path(name + ".arguments");
        program(name, "for a; do printf '%s\\0' \"$a\"; done > '" + record + ".$$' && mv '" + record + ".$$' '" +
                          record + "'");
        return record;
    }
    static std::vector<std::string> recorded(const std::string& record) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!std::filesystem::exists(record) && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::vector<std::string> arguments;
        std::string argument;
        for (const char c : contentOf(record)) {
            if (c != '\0')
                argument += c;
            else
                arguments.push_back(std::exchange(argument, {}));
        }
        return arguments;
    }
    /// An entry of a program for pictures.
    std::string entry(const std::string& file, const std::string& name, const std::string& lines = {}) const {
        const std::string exec =
            lines.find("Exec=") == 0 || lines.find("\nExec=") != std::string::npos ? std::string() : "Exec=viewer %U\n";
        const std::string type = lines.find("MimeType=") != std::string::npos ? "" : "MimeType=image/jpeg;\n";
        return write(file, "[Desktop Entry]\nType=Application\nName=" + name + "\n" + exec + type + lines);
    }
    static std::vector<std::string> idsFor(std::string_view type) {
        desktop::DesktopEntries entries;
        std::vector<std::string> ids;
        for (const auto& application : entries.applicationsFor(type)) ids.push_back(application.id);
        return ids;
    }
    void set(const std::string& name, const std::string& value) {
        const char* const old = std::getenv(name.c_str());
        before_.try_emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }

private:
    TemporaryFolder folder_;
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace tessaly::test
