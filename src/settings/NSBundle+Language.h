#pragma once
#include <string_view>

/// The language of the interface, beside what NSBundle does itself.
namespace tessaly::NSBundleLanguage {

/// Texts, and phrases of dates, come in this language from now on: screens show it when they next ask for their texts.
/// "", and a language without resources, follows the device. Views take the direction of the chosen language. Main
/// thread.
void setLanguage(std::string_view code);

}  // namespace tessaly::NSBundleLanguage
