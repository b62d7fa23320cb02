#pragma once
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Foundation/NSExtensionContext.h"

/// How arguments become a request's input items.
namespace tessaly::viewer {

/// A file that an argument names, or that is in a folder that it names.
struct NamedFile {
    std::string name;  ///< As messages call it.
    std::string path;  ///< Absolute.
    bool isInFolder = false;
};

struct Complaint {
    std::string name;
    std::string what;
    /// The same for the screen: an English key, with a place for the name where it has one; "" shows `what`.
    std::string_view label{};
};

/// Where the bytes of "-" are kept when only a file will do. Gone with the object.
class ScratchFolder {
public:
    ScratchFolder() = default;
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();
    /// A new file's path; "" when the disk does not let it.
    [[nodiscard]] std::string write(const Data& data);

private:
    std::string folder_;
};

struct Intake {
    NSExtensionItems items;  ///< One for each argument with something to show, in their order; every type is known.
    std::size_t attachments = 0;        ///< In all of them.
    std::vector<Complaint> complaints;  ///< What was named and cannot be shown, in the order of the arguments.
    std::shared_ptr<ScratchFolder> scratch;
};

/// The files of one argument: itself, or those in the folder, sorted by their names, without hidden ones.
[[nodiscard]] std::vector<NamedFile> filesOfArgument(const std::string& argument, std::vector<Complaint>& complaints);

/// Looks into all that the arguments name, several files at a time, and waits for it: not for the main thread. "-" is
/// read to its end.
[[nodiscard]] Intake takeIn(const std::vector<std::string>& arguments);

/// The same on other threads. The block comes on the main queue.
void takeInBackground(std::vector<std::string> arguments, std::function<void(Intake)> block);

}  // namespace tessaly::viewer
