#pragma once
#include <functional>
#include <string>

/// Steps that take a file away from its name only if it is still the one that is meant. It is looked at after the step,
/// when nobody else can put another one there any more; where it is another one the step is taken back, and no bytes
/// are lost whatever other programs do meanwhile.
namespace tessaly {

/// Tells, of a file that was just taken away from its name, whether it is the one that was meant.
using IsExpected = std::function<bool(const std::string& path)>;

/// The end of the name, which begins as that of other temporary files does, of what has changed places, as long as it
/// is looked at. What a program that was killed leaves under it may be somebody else's: it is never just removed.
inline constexpr const char* kSwappedSuffix = ".swap";

/// The file `own` takes the place of `path`, and the old one goes. False with errno, and all as it was: EBUSY when
/// another file is there than the one that is expected, ENOENT when there is none. Both in one file system.
[[nodiscard]] bool replaceExpected(const std::string& own, const std::string& path, const IsExpected& isExpected);

/// Removes the file. False with errno as above.
[[nodiscard]] bool removeExpected(const std::string& path, const IsExpected& isExpected);

/// Gives the file a name that is free in its folder: "name.jpg", "name 2.jpg", ... @return its path; "" with errno.
std::string moveToFreeName(const std::string& file, const std::string& wanted);

}  // namespace tessaly
