#pragma once
#include <QObject>

/// Tells the program when the machine runs short of memory.
namespace tessaly::quick {

/// Listens to the kernel's own figures (pressure stall information, Documentation/accounting/psi.rst) and to the
/// desktop's memory monitor (org.freedesktop.portal.MemoryMonitor), whichever of them there is, and posts
/// UIApplicationDidReceiveMemoryWarningNotification on the main thread.
class MemoryWarnings : public QObject {
    Q_OBJECT
public:
    MemoryWarnings();
    ~MemoryWarnings() override;

private slots:
    void portalWarned(uchar level);

private:
    void listenToKernel();
    void announce();

    int pressure_ = -1;
    double last_ = 0;  ///< When it was announced, in seconds.
};

}  // namespace tessaly::quick
