#pragma once
#include "linux/photos/Database.h"

namespace tessaly::photos {

/// Brings the dates of photos into the time zone in force, when they were stored in another one.
///
/// A camera's clock shows a time of day and knows no zone, or none that can be relied on: a photo of ten in the morning
/// is one of ten in the morning wherever it is looked at. Stored is an instant, which is that only where it was read.
/// Movies tell instants, and so does the file system where a photo has no date: they stay.
void followTimeZone(const Database& database);

}  // namespace tessaly::photos
