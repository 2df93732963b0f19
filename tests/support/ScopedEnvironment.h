#pragma once

// Sets an environment variable for one test and puts back what was there.

#include <QByteArray>
#include <QtGlobal>

class ScopedEnvironment {
public:
    // A null value unsets the variable for the test.
    ScopedEnvironment(const char* name, const QByteArray& value)
        : m_name(name)
        , m_wasSet(qEnvironmentVariableIsSet(name))
        , m_previous(qgetenv(name))
    {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    ~ScopedEnvironment() { m_wasSet ? qputenv(m_name, m_previous) : qunsetenv(m_name); }

    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_previous;
};
