#pragma once

#include "Platform/LocalizedError.h"

#include <QCoroTask>
#include <QtTest>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>

/// The error text that `action` throws; a null string when it throws nothing.
template<typename Action>
[[nodiscard]] QString errorTextOf(const Action &action)
{
    try {
        action();
    } catch (const LocalizedError &error) {
        return error.localizedDescription();
    }
    return {};
}

namespace Detail {

/// QCoro::waitFor() would wait for ever for a task that throws.
struct TaskOutcome
{
    bool isDone = false;
    std::exception_ptr exception;
};

template<typename Value>
QCoro::Task<> observe(QCoro::Task<Value> task, std::shared_ptr<TaskOutcome> outcome,
                      std::shared_ptr<std::optional<Value>> result)
{
    try {
        Value value = co_await task;
        result->emplace(std::move(value));
    } catch (...) {
        outcome->exception = std::current_exception();
    }
    outcome->isDone = true;
}

inline QCoro::Task<> observe(QCoro::Task<> task, std::shared_ptr<TaskOutcome> outcome)
{
    try {
        co_await task;
    } catch (...) {
        outcome->exception = std::current_exception();
    }
    outcome->isDone = true;
}

inline void waitFor(const TaskOutcome &outcome, std::chrono::milliseconds timeout)
{
    if (!QTest::qWaitFor([&outcome] { return outcome.isDone; }, static_cast<int>(timeout.count())))
        qFatal("the task did not end within %lld ms", static_cast<long long>(timeout.count()));
    if (outcome.exception)
        std::rethrow_exception(outcome.exception);
}

} // namespace Detail

/// Runs a task to its end on the event loop; what it throws, this throws. Aborts the test at the time-out.
template<typename Value>
[[nodiscard]] Value finish(QCoro::Task<Value> task,
                           std::chrono::milliseconds timeout = std::chrono::seconds(60))
{
    const auto outcome = std::make_shared<Detail::TaskOutcome>();
    const auto result = std::make_shared<std::optional<Value>>();
    const QCoro::Task<> observer = Detail::observe(std::move(task), outcome, result);
    Detail::waitFor(*outcome, timeout);
    return std::move(**result);
}

inline void finish(QCoro::Task<> task, std::chrono::milliseconds timeout = std::chrono::seconds(60))
{
    const auto outcome = std::make_shared<Detail::TaskOutcome>();
    const QCoro::Task<> observer = Detail::observe(std::move(task), outcome);
    Detail::waitFor(*outcome, timeout);
}

/// The error text with which a task ends; a null string when it succeeds.
[[nodiscard]] inline QCoro::Task<QString> outcomeOf(QCoro::Task<> task)
{
    try {
        co_await task;
    } catch (const LocalizedError &error) {
        co_return error.localizedDescription();
    }
    co_return QString();
}
