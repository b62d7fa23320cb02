#pragma once
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace tessaly::viewer {

/// What a second program asks the running one for.
struct Handover {
    std::vector<std::string> items;  ///< Arguments, files by their absolute path; none only raises the window.
    std::string activationToken;     ///< With which the desktop lets the window rise; "" for none.
};

[[nodiscard]] std::string encoded(const Handover& handover);
[[nodiscard]] Handover decodedHandover(const std::string& bytes);

/// The one window of the containing app: whoever comes first listens at a socket in a folder that only its user can
/// look into; others hand over what they were asked for, and end. A program that was killed leaves nothing in the way.
class SingleInstance {
public:
    /// `folder` is $XDG_RUNTIME_DIR; without one, "", every program is alone.
    explicit SingleInstance(const std::string& folder);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    using Handler = std::function<void(Handover)>;
    /// True for the first one: the handler hears of others, on a thread of its own, as long as the object lives.
    [[nodiscard]] bool listen(Handler handler);
    /// False when no program took it within two seconds. Waits.
    [[nodiscard]] bool handOver(const Handover& handover) const;

private:
    void serve();
    void take(int connection) const;

    std::string socketPath_, lockPath_;
    Handler handler_;
    int lock_ = -1;
    int listening_ = -1;
    int ending_ = -1;  ///< Readable once the thread is to end.
    std::thread thread_;
};

}  // namespace tessaly::viewer
