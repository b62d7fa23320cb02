#pragma once
#include <memory>
#include <optional>
#include <string_view>

#include "metadata/ExifKey.h"
#include "platform/Foundation/Value.h"

namespace tessaly {

class NSUserDefaults;

/// One ordered key list of the settings: all keys in the user's order, and the visible ones of them.
///
/// A stored list that cannot be read is no list, which shows no rows and is not filled up, until one is set.
class OrderedKeys {
public:
    /// `storedUnder` must live as long as the program. Reads and writes nothing yet.
    OrderedKeys(std::shared_ptr<NSUserDefaults> suite, std::string_view storedUnder);

    [[nodiscard]] const ExifKeyList& all() const;
    [[nodiscard]] const ExifKeyList& visible();
    /// Stores the list and writes the suite at once.
    void set(ExifKeyList keys);

    enum class Merge : bool { no, yes };
    /// Takes the stored list, or `defaults` when there is none. With Merge::yes a list shorter than `defaults` gets
    /// the keys it lacks. Changes go into the suite but are not written yet: one write serves several lists.
    void load(const ExifKeyList& defaults, Merge merge);
    /// Takes an archive of elsewhere in place of the stored one, before load.
    void adopt(const Value& archive);

private:
    void keep(std::optional<ExifKeyList> keys);
    void store();

    std::shared_ptr<NSUserDefaults> suite_;
    std::string_view storedUnder_;
    std::optional<ExifKeyList> all_;
    ExifKeyList visible_;
};

}  // namespace tessaly
