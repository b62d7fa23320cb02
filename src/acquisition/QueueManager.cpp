#include "acquisition/QueueManager.h"

#include <string>

#include "settings/AppDomain.h"

namespace tessaly {
namespace {

DispatchQueue queueNamed(std::string_view name) {
    return DispatchQueue(DispatchQueue::Kind::concurrent, DispatchPriority::normal,
                         std::string(AppDomainPrefix).append(".").append(name));
}

}  // namespace

QueueManager::QueueManager()
    : completeEXIFFetchingQueue(queueNamed("completeEXIFFetchingQueue")),
      rawFileProcessingQueue(queueNamed("rawFileProcessingQueue")) {}

QueueManager& QueueManager::sharedInstance() {
    static QueueManager instance;
    return instance;
}

}  // namespace tessaly
