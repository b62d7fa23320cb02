#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly {

struct NSNotification {
    std::string name;
    const void* object = nullptr;  ///< Who posted it; only to compare with.
    Dictionary userInfo;
};

/// Tells observers by name. Blocks run on the thread that posts, outside any lock: they may add and remove observers.
class NSNotificationCenter {
public:
    using Block = std::function<void(const NSNotification&)>;

    /// Observes until it is destroyed.
    class Observer {
    public:
        Observer() = default;
        Observer(NSNotificationCenter* center, std::uint64_t identifier) : center_(center), identifier_(identifier) {}
        Observer(Observer&& other) noexcept;
        Observer& operator=(Observer&& other) noexcept;
        Observer(const Observer&) = delete;
        Observer& operator=(const Observer&) = delete;
        ~Observer();

    private:
        NSNotificationCenter* center_ = nullptr;
        std::uint64_t identifier_ = 0;
    };

    [[nodiscard]] static NSNotificationCenter& defaultCenter();
    [[nodiscard]] Observer addObserver(std::string_view name, Block block);
    void postNotificationName(std::string_view name, const void* object = nullptr, const Dictionary& userInfo = {});

private:
    struct Registration {
        std::string name;
        std::shared_ptr<const Block> block;
    };
    std::mutex mutex_;
    std::map<std::uint64_t, Registration> registrations_;
    std::uint64_t next_ = 1;
};

}  // namespace tessaly
