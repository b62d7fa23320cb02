#pragma once
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/UIKit/Observable.h"

namespace tessaly {

/// Stands behind an interface file, which lays out the outlets that its owner names.
class InterfaceOwner {
public:
    InterfaceOwner() = default;
    InterfaceOwner(const InterfaceOwner&) = delete;
    InterfaceOwner& operator=(const InterfaceOwner&) = delete;
    virtual ~InterfaceOwner() = default;

    /// The file's name without ".qml"; "" for what shows nothing of its own.
    [[nodiscard]] virtual std::string_view interfaceName() const noexcept = 0;
    /// Null when there is none of that name.
    [[nodiscard]] std::shared_ptr<Observable> outletNamed(std::string_view name) const noexcept {
        for (const auto& [known, object] : outlets_) {
            if (known == name) return object;
        }
        return nullptr;
    }

protected:
    /// Makes an outlet. The name is a literal, the same as the member's that keeps it.
    template <class Outlet, class... Arguments>
    std::shared_ptr<Outlet> outlet(std::string_view name, Arguments&&... arguments) {
        auto object = std::make_shared<Outlet>(std::forward<Arguments>(arguments)...);
        outlets_.emplace_back(name, object);
        return object;
    }

private:
    std::vector<std::pair<std::string_view, std::shared_ptr<Observable>>> outlets_;
};

}  // namespace tessaly
