#include <cstdlib>

#include "support/TemporaryFolder.h"

namespace tessaly::test {
namespace {

/// No test sees the settings, the trash, the language or the time zone of whoever runs it.
struct Environment {
    Environment() {
        ::setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
        ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
        ::setenv("LC_ALL", "en_US.UTF-8", 1);
        ::setenv("TZ", "UTC", 1);
        ::unsetenv("TESSALY_LOG");
    }
    TemporaryFolder settings;
    TemporaryFolder data;
};
const Environment environment;

}  // namespace
}  // namespace tessaly::test
