#pragma once
#include <functional>
#include <memory>
#include <string>

#include "platform/UIKit/UIViewController.h"

namespace tessaly::desktop {

/// Asks for a folder where the desktop has no dialog for that: a sheet over `over` with the way up, the folders inside
/// (hidden ones left out), and the one to take. Main thread. `chosen` is not called when the person cancels.
void chooseFolder(const std::shared_ptr<UIViewController>& over, const std::string& title, const std::string& start,
                  std::function<void(const std::string& folder)> chosen);

}  // namespace tessaly::desktop
