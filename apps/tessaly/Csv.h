#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "Items.h"

namespace tessaly::cli {

/// A table (RFC 4180): the path, then a column a key. Photos and videos share it, so its columns are those of both.
class CsvTable {
public:
    explicit CsvTable(const KeySelection& selection);
    void appendHeader(std::string& out) const;
    void appendRow(std::string& out, const std::string& path, ExifInformation& record) const;

private:
    KeySelection selection_;
    std::vector<std::string> columns_;
};

}  // namespace tessaly::cli
