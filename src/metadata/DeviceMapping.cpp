#include "metadata/DeviceMapping.h"

#include <algorithm>
#include <array>

namespace tessaly {
namespace {

struct Device {
    std::string_view identifier;
    std::string_view name;
};

// Devices of their time; a newer identifier is shown as it is stored.
constexpr std::array kDevices{
    Device{"iPod5,1", "iPod Touch 5"},
    Device{"iPod7,1", "iPod Touch 6"},
    Device{"iPhone3,1", "iPhone 4"},
    Device{"iPhone3,2", "iPhone 4"},
    Device{"iPhone3,3", "iPhone 4"},
    Device{"iPhone4,1", "iPhone 4s"},
    Device{"iPhone5,1", "iPhone 5"},
    Device{"iPhone5,2", "iPhone 5"},
    Device{"iPhone5,3", "iPhone 5c"},
    Device{"iPhone5,4", "iPhone 5c"},
    Device{"iPhone6,1", "iPhone 5s"},
    Device{"iPhone6,2", "iPhone 5s"},
    Device{"iPhone7,2", "iPhone 6"},
    Device{"iPhone7,1", "iPhone 6 Plus"},
    Device{"iPhone8,1", "iPhone 6s"},
    Device{"iPhone8,2", "iPhone 6s Plus"},
    Device{"iPhone9,1", "iPhone 7"},
    Device{"iPhone9,3", "iPhone 7"},
    Device{"iPhone9,2", "iPhone 7 Plus"},
    Device{"iPhone9,4", "iPhone 7 Plus"},
    Device{"iPhone8,4", "iPhone SE"},
    Device{"iPhone10,1", "iPhone 8"},
    Device{"iPhone10,4", "iPhone 8"},
    Device{"iPhone10,2", "iPhone 8 Plus"},
    Device{"iPhone10,5", "iPhone 8 Plus"},
    Device{"iPhone10,3", "iPhone X"},
    Device{"iPhone10,6", "iPhone X"},
    Device{"iPad2,1", "iPad 2"},
    Device{"iPad2,2", "iPad 2"},
    Device{"iPad2,3", "iPad 2"},
    Device{"iPad2,4", "iPad 2"},
    Device{"iPad3,1", "iPad 3"},
    Device{"iPad3,2", "iPad 3"},
    Device{"iPad3,3", "iPad 3"},
    Device{"iPad3,4", "iPad 4"},
    Device{"iPad3,5", "iPad 4"},
    Device{"iPad3,6", "iPad 4"},
    Device{"iPad4,1", "iPad Air"},
    Device{"iPad4,2", "iPad Air"},
    Device{"iPad4,3", "iPad Air"},
    Device{"iPad5,3", "iPad Air 2"},
    Device{"iPad5,4", "iPad Air 2"},
    Device{"iPad6,11", "iPad 5"},
    Device{"iPad6,12", "iPad 5"},
    Device{"iPad2,5", "iPad Mini"},
    Device{"iPad2,6", "iPad Mini"},
    Device{"iPad2,7", "iPad Mini"},
    Device{"iPad4,4", "iPad Mini 2"},
    Device{"iPad4,5", "iPad Mini 2"},
    Device{"iPad4,6", "iPad Mini 2"},
    Device{"iPad4,7", "iPad Mini 3"},
    Device{"iPad4,8", "iPad Mini 3"},
    Device{"iPad4,9", "iPad Mini 3"},
    Device{"iPad5,1", "iPad Mini 4"},
    Device{"iPad5,2", "iPad Mini 4"},
    Device{"iPad6,3", "iPad Pro 9.7 Inch"},
    Device{"iPad6,4", "iPad Pro 9.7 Inch"},
    Device{"iPad6,7", "iPad Pro 12.9 Inch"},
    Device{"iPad6,8", "iPad Pro 12.9 Inch"},
    Device{"iPad7,1", "iPad Pro 12.9 Inch 2. Generation"},
    Device{"iPad7,2", "iPad Pro 12.9 Inch 2. Generation"},
    Device{"iPad7,3", "iPad Pro 10.5 Inch"},
    Device{"iPad7,4", "iPad Pro 10.5 Inch"},
    Device{"AppleTV5,3", "Apple TV"},
    Device{"AppleTV6,2", "Apple TV 4K"},
    Device{"AudioAccessory1,1", "HomePod"},
    Device{"i386", "Simulator"},
    Device{"x86_64", "Simulator"},
};

}  // namespace

std::string_view DeviceMapping::getDeviceNameFromMachineIdentifier(std::string_view identifier) noexcept {
    const auto found = std::ranges::find(kDevices, identifier, &Device::identifier);
    return found == kDevices.end() ? identifier : found->name;
}

}  // namespace tessaly
