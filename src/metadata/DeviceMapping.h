#pragma once
#include <string_view>

namespace tessaly {

struct DeviceMapping {
    /// The name of the device with this machine identifier ("iPhone10,3"), compared exactly; any other text as it is.
    /// The result views the argument or the program's own table.
    [[nodiscard]] static std::string_view getDeviceNameFromMachineIdentifier(std::string_view identifier) noexcept;
};

}  // namespace tessaly
