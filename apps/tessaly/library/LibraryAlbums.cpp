#include "LibraryAlbums.h"

namespace tessaly::cli {

using photos::PhotoLibrary;

PHAssetCollectionRef albumNamed(const PhotoLibrary& library, const std::string& title) {
    PHFetchOptions options;
    options.predicate = NSPredicate::predicateWithFormat("title = %@ OR localIdentifier = %@", {title, title});
    for (const std::int64_t type : {PHAssetCollectionTypeAlbum, PHAssetCollectionTypeSmartAlbum})
        if (auto album = library.collections(type, PHAssetCollectionSubtypeAny, options).firstObject()) return album;
    return nullptr;
}

}  // namespace tessaly::cli
