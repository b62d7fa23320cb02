#include "linux/photos/LibraryStore.h"

#include <filesystem>

namespace tessaly::photos {
namespace {

/// Photos are private: so is what is known of them.
std::string prepared(std::string folder) {
    std::error_code error;
    for (const char* part : {"", "/originals", "/pending", "/renditions"}) {
        std::filesystem::create_directories(folder + part, error);
        if (error) throw DatabaseError(folder + part + ": " + error.message());
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    return folder;
}

Database openedForWriting(const std::string& path) {
    Database database(path, Database::Mode::readWrite);
    prepareSchema(database);
    return database;
}

}  // namespace

LibraryStore::LibraryStore(std::string folder)
    : folder_(prepared(std::move(folder))),
      writer_(openedForWriting(folder_ + "/library.db")),
      reader_(folder_ + "/library.db", Database::Mode::readOnly) {}

}  // namespace tessaly::photos
