#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "Door.h"
#include "Warden.h"

namespace {

/// Where the program left the end that orders come in at.
constexpr int kOrders = 3;

/// A family is the middle of a module's name, never a path.
bool isFamily(std::string_view name) {
    return !name.empty() && name.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == name.npos;
}

bool isStartedByProgram() {
    struct stat status {};
    return ::fstat(kOrders, &status) == 0 && S_ISSOCK(status.st_mode);
}

/// What the program has open besides is none of ours.
void closeOthers() { ::close_range(kOrders + 1, ~0U, 0); }

}  // namespace

int main(int argc, char** argv) {
    using namespace tessaly;
    if (argc != 2 || !isFamily(argv[1]) || !isStartedByProgram()) {
        std::fputs("tessaly-decoder: decodes pictures for tessaly and tessaly-viewer, which start it by themselves\n",
                   stderr);
        return 2;
    }
    closeOthers();
    decoder::Warden warden{codecs::Descriptor(kOrders)};
    const codecs::FamilyDecoder family(argv[1]);
    family.warmUp();
    const codecs::Isolation isolation = decoder::shutDoor();
    warden.serve(family, isolation);
    // Nothing is left to be tidied up that the kernel does not, and no leak checker could look around in here.
    ::_exit(0);
}
