#pragma once
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/UTType.h"
#include "platform/UIKit/UIImage.h"

/// What a host hands over: items with attachments, and the request that they belong to.
namespace tessaly {

/// One attachment: a file, bytes, or a picture. Its type comes from its content, never from its name.
class NSItemProvider {
public:
    /// What an attachment loads as; monostate is nothing.
    using Item = std::variant<std::monostate, NSURL, Data, UIImageRef>;
    /// Comes on another thread, with "" or what went wrong.
    using CompletionHandler = std::function<void(const Item& item, const std::string& error)>;

    explicit NSItemProvider(Item item) : item_(std::move(item)) {}
    /// Looks into the attachment on the first question.
    [[nodiscard]] bool hasItemConformingToTypeIdentifier(std::string_view type) const {
        return UTTypeConformsTo(typeIdentifier(), type);
    }
    /// "" for what is neither a picture nor a movie.
    [[nodiscard]] std::string_view typeIdentifier() const;
    void loadItemForTypeIdentifier(std::string_view type, CompletionHandler completionHandler) const;
    [[nodiscard]] const Item& item() const noexcept { return item_; }

private:
    Item item_;
    mutable std::string type_;
    mutable bool typeIsKnown_ = false;
};

struct NSExtensionItem {
    std::vector<std::shared_ptr<NSItemProvider>> attachments;
};

using NSExtensionItems = std::vector<std::shared_ptr<NSExtensionItem>>;

struct NSError {
    std::string domain;
    long code = 0;
};

/// A host's request. Ends once: it is completed or cancelled.
class NSExtensionContext {
public:
    explicit NSExtensionContext(NSExtensionItems inputItems) : inputItems_(std::move(inputItems)) {}
    NSExtensionContext(const NSExtensionContext&) = delete;
    NSExtensionContext& operator=(const NSExtensionContext&) = delete;
    virtual ~NSExtensionContext() = default;

    [[nodiscard]] const NSExtensionItems& inputItems() const noexcept { return inputItems_; }
    /// The handler is told whether the request had expired before.
    virtual void completeRequestReturningItems(const NSExtensionItems& items,
                                               std::function<void(bool expired)> completionHandler) = 0;
    virtual void cancelRequestWithError(const NSError& error) = 0;

private:
    NSExtensionItems inputItems_;
};

}  // namespace tessaly
