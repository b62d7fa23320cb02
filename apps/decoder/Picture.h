#pragma once
#include "linux/codecs/isolation/Descriptor.h"
#include "linux/codecs/isolation/FamilyDecoder.h"

namespace tessaly::decoder {

/// An order and what came with it.
struct Commission {
    codecs::Order order;
    codecs::Descriptor reply;
    codecs::Descriptor input;
    codecs::Descriptor memory;
    codecs::Descriptor file;  ///< Empty where pixels may lie in memory alone.
};

/// Decodes and answers, in the copy of the process that was made for it and that ends afterwards.
void perform(const codecs::FamilyDecoder& decoder, Commission& commission);

}  // namespace tessaly::decoder
