// Sets TZ for the life of the object, and back to what it was after; local time follows at once.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace testsupport {

class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char *pszZone) {
        if (const char *old = std::getenv("TZ")) m_old = old;
        setenv("TZ", pszZone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (m_old)
            setenv("TZ", m_old->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone &) = delete;
    ScopedTimeZone &operator=(const ScopedTimeZone &) = delete;

private:
    std::optional<std::string> m_old;
};

} // namespace testsupport
