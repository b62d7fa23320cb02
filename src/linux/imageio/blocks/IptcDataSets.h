#pragma once
#include <array>
#include <cstdint>
#include <string_view>

namespace tessaly::imageio {

/// A data set of record 2 (IIM 4.2, chapter 6) under the platform's name.
struct IptcDataSetRule {
    std::uint8_t number;
    bool repeats;  ///< Collected into an array.
    std::string_view name;
};

inline constexpr std::array kIptcDataSets{
    IptcDataSetRule{4, false, "ObjectAttributeReference"},
    IptcDataSetRule{5, false, "ObjectName"},
    IptcDataSetRule{7, false, "EditStatus"},
    IptcDataSetRule{10, false, "Urgency"},
    IptcDataSetRule{12, true, "SubjectReference"},
    IptcDataSetRule{15, false, "Category"},
    IptcDataSetRule{20, true, "SupplementalCategory"},
    IptcDataSetRule{22, false, "FixtureIdentifier"},
    IptcDataSetRule{25, true, "Keywords"},
    IptcDataSetRule{26, true, "ContentLocationCode"},
    IptcDataSetRule{27, true, "ContentLocationName"},
    IptcDataSetRule{30, false, "ReleaseDate"},
    IptcDataSetRule{35, false, "ReleaseTime"},
    IptcDataSetRule{37, false, "ExpirationDate"},
    IptcDataSetRule{38, false, "ExpirationTime"},
    IptcDataSetRule{40, false, "SpecialInstructions"},
    IptcDataSetRule{55, false, "DateCreated"},
    IptcDataSetRule{60, false, "TimeCreated"},
    IptcDataSetRule{62, false, "DigitalCreationDate"},
    IptcDataSetRule{63, false, "DigitalCreationTime"},
    IptcDataSetRule{65, false, "OriginatingProgram"},
    IptcDataSetRule{70, false, "ProgramVersion"},
    IptcDataSetRule{75, false, "ObjectCycle"},
    IptcDataSetRule{80, true, "Byline"},
    IptcDataSetRule{85, true, "BylineTitle"},
    IptcDataSetRule{90, false, "City"},
    IptcDataSetRule{92, false, "SubLocation"},
    IptcDataSetRule{95, false, "Province/State"},
    IptcDataSetRule{100, false, "Country/PrimaryLocationCode"},
    IptcDataSetRule{101, false, "Country/PrimaryLocationName"},
    IptcDataSetRule{103, false, "OriginalTransmissionReference"},
    IptcDataSetRule{105, false, "Headline"},
    IptcDataSetRule{110, false, "Credit"},
    IptcDataSetRule{115, false, "Source"},
    IptcDataSetRule{116, false, "CopyrightNotice"},
    IptcDataSetRule{118, true, "Contact"},
    IptcDataSetRule{120, false, "Caption/Abstract"},
    IptcDataSetRule{122, true, "Writer/Editor"},
    IptcDataSetRule{130, false, "ImageType"},
    IptcDataSetRule{131, false, "ImageOrientation"},
    IptcDataSetRule{135, false, "LanguageIdentifier"},
};

}  // namespace tessaly::imageio
