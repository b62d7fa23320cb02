#pragma once
#include <memory>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// Typed values by key in one file a suite: $XDG_CONFIG_HOME/tessaly/<suite>.json (else ~/.config/tessaly).
///
/// Several processes share a suite: a write takes the suite's lock, reads what others wrote, changes only its own keys,
/// and replaces the file atomically; a read notices that another process wrote. A file that cannot be understood is
/// kept aside as <suite>.json.corrupt-N and reported on standard error, never silently emptied. Where the folder cannot
/// be written, values hold for the life of the process. May be used by several threads.
class NSUserDefaults {
public:
    explicit NSUserDefaults(std::string_view suiteName);
    NSUserDefaults(const NSUserDefaults&) = delete;
    NSUserDefaults& operator=(const NSUserDefaults&) = delete;
    ~NSUserDefaults();

    /// The user's own, not shared, defaults of this program.
    [[nodiscard]] static std::shared_ptr<NSUserDefaults> standardUserDefaults();

    /// Null when absent.
    [[nodiscard]] Value objectForKey(std::string_view key) const;
    /// Kept in memory until synchronize. The null value removes the key.
    void setObject(Value value, std::string_view key);
    void removeObjectForKey(std::string_view key) { setObject({}, key); }
    [[nodiscard]] Dictionary dictionaryRepresentation() const;
    /// Writes what was set. False, with the reason in lastError(), when the file could not be written.
    bool synchronize();
    [[nodiscard]] std::string lastError() const;
    [[nodiscard]] const std::string& path() const noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tessaly
