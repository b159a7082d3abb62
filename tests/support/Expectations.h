#pragma once

#include "Platform/LocalizedError.h"

#include <QCoroTask>
#include <QtTest>

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

/// Runs a task to its end on the event loop; what it throws, this throws. Aborts the test after a minute.
inline void finish(QCoro::Task<> task)
{
    // QCoro::waitFor() would wait for ever for a task that throws.
    struct Outcome
    {
        bool isDone = false;
        std::exception_ptr exception;
    };
    const auto outcome = std::make_shared<Outcome>();
    const auto observe = [](QCoro::Task<> observed, std::shared_ptr<Outcome> noted) -> QCoro::Task<> {
        try {
            co_await observed;
        } catch (...) {
            noted->exception = std::current_exception();
        }
        noted->isDone = true;
    };
    const QCoro::Task<> observer = observe(std::move(task), outcome);
    if (!QTest::qWaitFor([&] { return outcome->isDone; }, 60'000))
        qFatal("the task did not end within a minute");
    if (outcome->exception)
        std::rethrow_exception(outcome->exception);
}

/// The same for a task with a result.
template<typename Value>
[[nodiscard]] Value finish(QCoro::Task<Value> task)
{
    const auto result = std::make_shared<std::optional<Value>>();
    const auto keep = [](QCoro::Task<Value> kept, std::shared_ptr<std::optional<Value>> to) -> QCoro::Task<> {
        Value value = co_await kept;
        to->emplace(std::move(value));
    };
    finish(keep(std::move(task), result));
    return std::move(**result);
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
