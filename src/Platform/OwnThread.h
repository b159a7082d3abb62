#pragma once

#include <QFuture>
#include <QPromise>

#include <thread>
#include <type_traits>

/// Runs `work` on a thread that begins and ends with it. For work that may hang for a while: it keeps no
/// place of a shared pool. The future has the result or what was thrown; nobody has to wait for it.
template<typename Work>
[[nodiscard]] QFuture<std::invoke_result_t<Work>> runOnOwnThread(Work work)
{
    using Result = std::invoke_result_t<Work>;
    QPromise<Result> promise;
    promise.start();
    QFuture<Result> future = promise.future();
    std::thread([promise = std::move(promise), work = std::move(work)]() mutable {
        try {
            if constexpr (std::is_void_v<Result>)
                work();
            else
                promise.addResult(work());
        } catch (...) {
            promise.setException(std::current_exception());
        }
        promise.finish();
    }).detach();
    return future;
}
