#include "platform/Foundation/NSNotificationCenter.h"

#include <utility>
#include <vector>

namespace tessaly {

NSNotificationCenter::Observer::Observer(Observer&& other) noexcept
    : center_(std::exchange(other.center_, nullptr)), identifier_(other.identifier_) {}

NSNotificationCenter::Observer& NSNotificationCenter::Observer::operator=(Observer&& other) noexcept {
    std::swap(center_, other.center_);
    std::swap(identifier_, other.identifier_);
    return *this;
}

NSNotificationCenter::Observer::~Observer() {
    if (!center_) return;
    const std::lock_guard lock(center_->mutex_);
    center_->registrations_.erase(identifier_);
}

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
    // Never destroyed: another thread may let go of an observer while the program ends.
    static NSNotificationCenter& center = *new NSNotificationCenter;
    return center;
}

NSNotificationCenter::Observer NSNotificationCenter::addObserver(std::string_view name, Block block) {
    const std::lock_guard lock(mutex_);
    registrations_[next_] = {std::string(name), std::make_shared<const Block>(std::move(block))};
    return {this, next_++};
}

void NSNotificationCenter::postNotificationName(std::string_view name, const void* object, const Dictionary& userInfo) {
    std::vector<std::shared_ptr<const Block>> blocks;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [identifier, registration] : registrations_)
            if (registration.name == name) blocks.push_back(registration.block);
    }
    const NSNotification notification{std::string(name), object, userInfo};
    for (const auto& block : blocks) (*block)(notification);
}

}  // namespace tessaly
