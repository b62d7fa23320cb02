#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace tessaly {

/// Something that a screen shows and that tells when it changed: the outlets, and what hangs on them. Main thread.
class Observable {
    struct Observers {
        std::map<std::uint64_t, std::function<void()>> blocks;
        std::uint64_t next = 1;
    };

public:
    /// Observes until it is destroyed; may outlive what it observes.
    class Observation {
    public:
        Observation() = default;
        Observation(const std::shared_ptr<Observers>& observers, std::uint64_t identifier)
            : observers_(observers), identifier_(identifier) {}
        Observation(Observation&& other) noexcept { *this = std::move(other); }
        Observation& operator=(Observation&& other) noexcept {
            std::swap(observers_, other.observers_);
            std::swap(identifier_, other.identifier_);
            return *this;
        }
        Observation(const Observation&) = delete;
        Observation& operator=(const Observation&) = delete;
        ~Observation() {
            if (const auto observers = observers_.lock()) observers->blocks.erase(identifier_);
        }

    private:
        std::weak_ptr<Observers> observers_;
        std::uint64_t identifier_ = 0;
    };

    Observable() = default;
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;
    virtual ~Observable() {
        // It may go away because of what it tells right now: the observers that are left hear no more of it.
        if (observers_) std::exchange(observers_->blocks, {});
    }

    /// The block runs after every change, as the setter's last step. It may add and remove observers.
    [[nodiscard]] Observation observe(std::function<void()> block) const {
        if (!observers_) observers_ = std::make_shared<Observers>();
        const std::uint64_t identifier = observers_->next++;
        observers_->blocks.emplace(identifier, std::move(block));
        return {observers_, identifier};
    }

protected:
    void changed() const {
        const auto observers = observers_;
        if (!observers) return;
        // One by one by identifier: a block may take itself or another out.
        for (std::uint64_t last = 0;;) {
            const auto next = observers->blocks.upper_bound(last);
            if (next == observers->blocks.end()) return;
            last = next->first;
            const auto block = next->second;
            block();
        }
    }

    /// Sets a property, and tells the observers if that changed it.
    template <class Field, class New>
    bool assign(Field& field, New&& value) {
        if (field == value) return false;
        field = std::forward<New>(value);
        changed();
        return true;
    }

private:
    mutable std::shared_ptr<Observers> observers_;
};

}  // namespace tessaly
