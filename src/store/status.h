#pragma once

#include "store/check.h"

#include <QString>

#include <optional>
#include <utility>

// Failures are values: every store and file operation returns a Status (or a Result<T>, a value or a
// Status), never throws. A caller can tell "not found" from a real failure by the code.
class [[nodiscard]] Status {
public:
    enum class Code { Ok, NotFound, InvalidArgument, IoError, Corruption, Busy };

    Status() = default;
    static Status ok() { return {}; }
    static Status notFound(QString message) { return {Code::NotFound, std::move(message)}; }
    static Status invalidArgument(QString message) { return {Code::InvalidArgument, std::move(message)}; }
    static Status ioError(QString message) { return {Code::IoError, std::move(message)}; }
    static Status corruption(QString message) { return {Code::Corruption, std::move(message)}; }
    static Status busy(QString message) { return {Code::Busy, std::move(message)}; }

    bool isOk() const { return m_code == Code::Ok; }
    bool isNotFound() const { return m_code == Code::NotFound; }
    Code code() const { return m_code; }
    const QString& message() const { return m_message; }
    // "OK" or "<kind>: <message>", for logs and test failure output.
    QString toString() const;

private:
    Status(Code code, QString message) : m_code(code), m_message(std::move(message)) {}
    Code m_code = Code::Ok;
    QString m_message;
};

// A value or the Status that explains why there is none.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : m_value(std::move(value)) {}
    // A failure without a reason is a mistake of the caller's; it still reads as a failure.
    Result(Status status) : m_status(std::move(status))
    {
        if (!VYRO_CHECK(!m_status.isOk()))
            m_status = Status::invalidArgument(QStringLiteral("a failed result without a reason"));
    }

    bool isOk() const { return m_value.has_value(); }
    explicit operator bool() const { return isOk(); }
    const Status& status() const { return m_status; }
    // Reading the value of a failed Result logs its status and aborts, in every build.
    T& value() & { return checked(); }
    const T& value() const& { return checked(); }
    T&& value() && { return std::move(checked()); }
    T* operator->() { return &checked(); }
    const T* operator->() const { return &checked(); }
    T& operator*() & { return checked(); }
    const T& operator*() const& { return checked(); }

private:
    T& checked()
    {
        if (!m_value) [[unlikely]]
            vyroResultHasNoValue(m_status);
        return *m_value;
    }
    const T& checked() const
    {
        if (!m_value) [[unlikely]]
            vyroResultHasNoValue(m_status);
        return *m_value;
    }

    std::optional<T> m_value;
    Status m_status;
};

inline QString Status::toString() const
{
    switch (m_code) {
    case Code::Ok: return QStringLiteral("OK");
    case Code::NotFound: return QStringLiteral("Not found: ") + m_message;
    case Code::InvalidArgument: return QStringLiteral("Invalid argument: ") + m_message;
    case Code::IoError: return QStringLiteral("I/O error: ") + m_message;
    case Code::Corruption: return QStringLiteral("Corruption: ") + m_message;
    case Code::Busy: return QStringLiteral("Busy: ") + m_message;
    }
    return m_message;
}
