#pragma once

// Private to the gateway.

#include <coroutine>
#include <exception>
#include <optional>
#include <utility>

namespace PlatformAbstraction::Rest {

/// What a coroutine of one connection returns: work that begins when it is awaited, or with `Start` where
/// nobody awaits it, and goes on where the I/O that it waits for ends. The task owns its coroutine, and with
/// it the tasks that this awaits in turn; it is dropped only while the coroutine waits or has ended.
///
/// Asio's own coroutines would take one more frame for each operation, and their end cannot be awaited from
/// a callback of another thread without a channel or a timer.
template <typename Result>
class [[nodiscard]] Task {
public:
    struct promise_type {
        struct Resumed {
            bool await_ready() const noexcept { return false; }
            std::coroutine_handle<> await_suspend(
                std::coroutine_handle<promise_type> finished) const noexcept {
                return finished.promise().awaiting;
            }
            void await_resume() const noexcept {}
        };

        Task get_return_object() { return Task(std::coroutine_handle<promise_type>::from_promise(*this)); }
        std::suspend_always initial_suspend() const noexcept { return {}; }
        Resumed final_suspend() const noexcept { return {}; }
        void return_value(Result value) { result.emplace(std::move(value)); }
        void unhandled_exception() noexcept { exception = std::current_exception(); }

        std::coroutine_handle<> awaiting = std::noop_coroutine();
        std::optional<Result> result;
        std::exception_ptr exception;
    };

    Task(Task&& other) noexcept : m_coroutine(std::exchange(other.m_coroutine, {})) {}
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (m_coroutine) {
            m_coroutine.destroy();
        }
    }

    void Start() { m_coroutine.resume(); }

    bool await_ready() const noexcept { return false; }
    std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiting) noexcept {
        m_coroutine.promise().awaiting = awaiting;
        return m_coroutine;
    }
    Result await_resume() {
        promise_type& promise = m_coroutine.promise();
        if (promise.exception) {
            std::rethrow_exception(promise.exception);
        }
        return *std::move(promise.result);
    }

private:
    explicit Task(std::coroutine_handle<promise_type> coroutine) : m_coroutine(coroutine) {}

    std::coroutine_handle<promise_type> m_coroutine;
};

}  // namespace PlatformAbstraction::Rest
