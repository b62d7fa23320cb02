#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {

void readMakerNote(TiffContext&, const MakerNoteEntry&, std::string_view, std::string_view, ImageProperties&) {}

}  // namespace tessaly::imageio
