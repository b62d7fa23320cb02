#pragma once
#include "platform/Foundation/Dispatch.h"

namespace tessaly {

/// The named queues that all parts of the program share. What a block leaves behind is freed as it ends.
class QueueManager {
public:
    QueueManager();
    QueueManager(const QueueManager&) = delete;
    QueueManager& operator=(const QueueManager&) = delete;
    [[nodiscard]] static QueueManager& sharedInstance();

    DispatchQueue completeEXIFFetchingQueue;
    DispatchQueue rawFileProcessingQueue;
    OperationQueue imageTransferOperationQueue{8};
    OperationQueue imageScaleDownOperationQueue{16};
    OperationQueue prefetchImageScaleDownOperationQueue{10};
    OperationQueue fileNamePHAssetResourceSerialOperationQueue{1};
    OperationQueue albumImageTransferOperationQueue{8};
    OperationQueue fullScreenImageLoadingOperationQueue{1};
    OperationQueue iCloudImageDownloadOperationQueue{1};
    OperationQueue exifCardTVImageFetchOperationQueue{5};
    OperationQueue exifCardTVEXIFFetchOperationQueue{5};
    OperationQueue exifFetchingOperationQueueForAppleTV{5};
};

}  // namespace tessaly
