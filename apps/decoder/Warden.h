#pragma once
#include <sys/types.h>

#include <vector>

#include "Picture.h"

namespace tessaly::decoder {

/// Has a copy of this process decode every picture, and one more ready for the next order, which it takes without a
/// word from here. The warden itself never looks into an order: what a file does to one copy, no other picture sees.
/// Ends when the program does, and when nothing was asked for a while.
class Warden {
public:
    /// @param orders  the end that orders come in at.
    explicit Warden(codecs::Descriptor orders);

    /// Tells the program what keeps this process in, and serves it until it is time to end.
    void serve(const codecs::FamilyDecoder& decoder, const codecs::Isolation& isolation);

private:
    struct Copy {
        pid_t process = -1;
        codecs::Descriptor news;   ///< Says which order the copy took; closed when it has.
        codecs::Descriptor reply;  ///< Of that order.
        bool isGivenUp = false;
        [[nodiscard]] bool isWaiting() const { return static_cast<bool>(news); }
    };

    [[nodiscard]] bool wait();
    void hear(Copy& copy, short events);
    /// Says how each copy that has ended did so. @return false when copies are no good.
    [[nodiscard]] bool reap();
    /// @return false without another copy.
    [[nodiscard]] bool prepare(const codecs::FamilyDecoder& decoder);
    [[noreturn]] void work(const codecs::FamilyDecoder& decoder, codecs::Descriptor news);

    codecs::Descriptor orders_;
    codecs::Descriptor ends_;  ///< Readable when a copy has ended.
    std::vector<Copy> copies_;
};

}  // namespace tessaly::decoder
