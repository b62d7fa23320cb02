#include "linux/quick/window/MemoryWarnings.h"

#include <fcntl.h>
#include <unistd.h>

#include <QDBusConnection>
#include <QSocketNotifier>
#include <cstring>

#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/UIKit/MemoryWarning.h"

namespace tessaly::quick {
namespace {

constexpr const char* kPressure = "/proc/pressure/memory";
/// Somebody waited for memory for a tenth of two seconds. Whole multiples of two seconds are what the kernel allows
/// those who are not root.
constexpr const char* kTrigger = "some 200000 2000000";
/// Seconds: both may tell of the same shortage, and dropping twice is of no use.
constexpr double kPause = 5;

}  // namespace

MemoryWarnings::MemoryWarnings() {
    listenToKernel();
    QDBusConnection::sessionBus().connect(QStringLiteral("org.freedesktop.portal.Desktop"),
                                          QStringLiteral("/org/freedesktop/portal/desktop"),
                                          QStringLiteral("org.freedesktop.portal.MemoryMonitor"),
                                          QStringLiteral("LowMemoryWarning"), this, SLOT(portalWarned(uchar)));
}

MemoryWarnings::~MemoryWarnings() {
    if (pressure_ >= 0) ::close(pressure_);
}

void MemoryWarnings::listenToKernel() {
    const int descriptor = ::open(kPressure, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return;
    // With its NUL, as the kernel's own example has it.
    const auto length = static_cast<ssize_t>(std::strlen(kTrigger) + 1);
    if (::write(descriptor, kTrigger, static_cast<std::size_t>(length)) != length) {
        ::close(descriptor);
        return;
    }
    pressure_ = descriptor;
    auto* const notifier = new QSocketNotifier(descriptor, QSocketNotifier::Exception, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] { announce(); });
}

void MemoryWarnings::portalWarned(uchar) { announce(); }

void MemoryWarnings::announce() {
    const double now = NSDate::date().timeIntervalSince1970;
    if (now >= last_ && now - last_ < kPause) return;
    last_ = now;
    log("memory warning");
    NSNotificationCenter::defaultCenter().postNotificationName(UIApplicationDidReceiveMemoryWarningNotification);
}

}  // namespace tessaly::quick
