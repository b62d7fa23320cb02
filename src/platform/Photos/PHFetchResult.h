#pragma once
#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>

namespace tessaly {

struct NSRange {
    std::size_t location = 0;
    std::size_t length = 0;
    friend bool operator==(const NSRange&, const NSRange&) = default;
};

/// The answer to a fetch: its objects in order, each made when it is asked for. It does not change when the library
/// does; an object that has gone since is null. May be used by several threads.
template <class Object>
class PHFetchResult {
public:
    /// Where the objects come from.
    class Rows {
    public:
        Rows() = default;
        Rows(const Rows&) = delete;
        Rows& operator=(const Rows&) = delete;
        virtual ~Rows() = default;
        [[nodiscard]] virtual std::size_t count() const = 0;
        [[nodiscard]] virtual std::shared_ptr<Object> at(std::size_t index) const = 0;
    };

    PHFetchResult() = default;
    explicit PHFetchResult(std::shared_ptr<const Rows> rows) : rows_(std::move(rows)) {}

    [[nodiscard]] std::size_t count() const { return rows_ ? rows_->count() : 0; }
    /// Null beyond the end.
    [[nodiscard]] std::shared_ptr<Object> objectAtIndex(std::size_t index) const {
        return index < count() ? rows_->at(index) : nullptr;
    }
    [[nodiscard]] std::shared_ptr<Object> firstObject() const { return objectAtIndex(0); }
    [[nodiscard]] std::shared_ptr<Object> lastObject() const {
        return count() > 0 ? objectAtIndex(count() - 1) : nullptr;
    }
    /// The objects of the range that exist, in order.
    void enumerateObjectsInRange(
        NSRange range, const std::function<void(const std::shared_ptr<Object>&, std::size_t index)>& visit) const {
        const std::size_t begin = std::min(range.location, count());
        const std::size_t end = begin + std::min(range.length, count() - begin);
        for (std::size_t index = begin; index < end; ++index) visit(rows_->at(index), index);
    }

private:
    std::shared_ptr<const Rows> rows_;
};

}  // namespace tessaly
