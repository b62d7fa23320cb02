#pragma once
#include <functional>
#include <utility>

#include "platform/Foundation/NSExtensionContext.h"

namespace tessaly::viewer {

/// The program's side of a request: it lives as long as the request. Main thread.
class Request : public NSExtensionContext {
public:
    /// `ended` comes once, whatever ends the request.
    Request(NSExtensionItems inputItems, std::function<void()> ended)
        : NSExtensionContext(std::move(inputItems)), ended_(std::move(ended)) {}

    void completeRequestReturningItems(const NSExtensionItems&,
                                       std::function<void(bool expired)> completionHandler) override {
        const bool hadEnded = !ended_;
        end();
        if (completionHandler) completionHandler(hadEnded);
    }
    void cancelRequestWithError(const NSError&) override { end(); }

private:
    void end() {
        if (const auto ended = std::exchange(ended_, nullptr)) ended();
    }

    std::function<void()> ended_;
};

}  // namespace tessaly::viewer
