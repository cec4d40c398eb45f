#pragma once

// Private to the gateway.

#include <boost/system/error_code.hpp>
#include <coroutine>
#include <cstddef>
#include <exception>
#include <optional>
#include <utility>

namespace PlatformAbstraction::Rest {

/// What a coroutine of one connection returns: work that begins when it is awaited, or with `Start` where
/// nobody awaits it, and goes on where the I/O that it waits for ends. The task owns its coroutine, and with
/// it the tasks that this awaits in turn; it is dropped only while the coroutine waits or has ended.
///
/// Asio's own coroutines take one more frame for each operation, and what another thread brings can be
/// awaited in them only through a timer or a channel.
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

/// How an I/O operation ended.
struct IoResult {
    boost::system::error_code error;
    std::size_t bytes = 0;
};

/// Awaits the end of an I/O operation, which keeps its owner until then. `Begin` starts it with the handler
/// that it is given.
template <typename Owner, typename Begin>
class IoOperation {
public:
    IoOperation(Owner& owner, Begin begin) : m_owner(owner), m_begin(std::move(begin)) {}

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> awaiting) {
        m_begin([this, awaiting, self = m_owner.shared_from_this()](const boost::system::error_code& error,
                                                                    std::size_t bytes) {
            m_result = {error, bytes};
            awaiting.resume();
        });
    }
    IoResult await_resume() const noexcept { return m_result; }

private:
    Owner& m_owner;
    Begin m_begin;
    IoResult m_result;
};

}  // namespace PlatformAbstraction::Rest
