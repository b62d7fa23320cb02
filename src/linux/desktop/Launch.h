#pragma once
#include <string>
#include <vector>

namespace tessaly::desktop {

/// Starts a program that lives on without this one: in a session of its own, with no descriptor of ours, adopted by
/// the system. No shell sees the arguments. `arguments` begins with the program, which is looked up in $PATH.
/// `workingFolder` "" for the home folder. 0 once it runs, else errno of why it does not.
[[nodiscard]] int launchDetached(const std::vector<std::string>& arguments, const std::string& workingFolder = {});

/// The mail program's letter with the files attached and the text in its body (xdg-email, xdg-utils 1.1).
[[nodiscard]] std::vector<std::string> mailCommand(const std::vector<std::string>& attachments,
                                                   const std::string& body);
/// Whether there is something to hand a letter to.
[[nodiscard]] bool canMail();

}  // namespace tessaly::desktop
