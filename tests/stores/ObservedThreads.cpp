// The thread sanitizer observes POSIX threads alone, and falls over threads that C11's functions have made,
// as Kafka's client does. Here these are the same on POSIX, for C's library has them in one layout.

#include <pthread.h>
#include <threads.h>

#include <cerrno>
#include <memory>

namespace {

struct Start {
    thrd_start_t function;
    void* argument;
};

void* Run(void* start) {
    const std::unique_ptr<Start> owned(static_cast<Start*>(start));
    return reinterpret_cast<void*>(static_cast<long>(owned->function(owned->argument)));
}

pthread_mutex_t* Posix(mtx_t* mutex) {
    return reinterpret_cast<pthread_mutex_t*>(mutex);
}
pthread_cond_t* Posix(cnd_t* condition) {
    return reinterpret_cast<pthread_cond_t*>(condition);
}
int ResultOf(int error) {
    return error == 0           ? thrd_success
           : error == EBUSY     ? thrd_busy
           : error == ETIMEDOUT ? thrd_timedout
                                : thrd_error;
}

}  // namespace

extern "C" {

int thrd_create(thrd_t* thread, thrd_start_t function, void* argument) {
    return ResultOf(pthread_create(thread, nullptr, Run, new Start{function, argument}));
}
int thrd_join(thrd_t thread, int* result) {
    void* value = nullptr;
    const int error = pthread_join(thread, &value);
    if (result != nullptr) {
        *result = static_cast<int>(reinterpret_cast<long>(value));
    }
    return ResultOf(error);
}
int mtx_init(mtx_t* mutex, int type) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes,
                              (type & mtx_recursive) != 0 ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
    return ResultOf(pthread_mutex_init(Posix(mutex), &attributes));
}
void mtx_destroy(mtx_t* mutex) {
    pthread_mutex_destroy(Posix(mutex));
}
int mtx_lock(mtx_t* mutex) {
    return ResultOf(pthread_mutex_lock(Posix(mutex)));
}
int mtx_trylock(mtx_t* mutex) {
    return ResultOf(pthread_mutex_trylock(Posix(mutex)));
}
int mtx_unlock(mtx_t* mutex) {
    return ResultOf(pthread_mutex_unlock(Posix(mutex)));
}
int cnd_init(cnd_t* condition) {
    return ResultOf(pthread_cond_init(Posix(condition), nullptr));
}
void cnd_destroy(cnd_t* condition) {
    pthread_cond_destroy(Posix(condition));
}
int cnd_signal(cnd_t* condition) {
    return ResultOf(pthread_cond_signal(Posix(condition)));
}
int cnd_broadcast(cnd_t* condition) {
    return ResultOf(pthread_cond_broadcast(Posix(condition)));
}
int cnd_wait(cnd_t* condition, mtx_t* mutex) {
    return ResultOf(pthread_cond_wait(Posix(condition), Posix(mutex)));
}
int cnd_timedwait(cnd_t* condition, mtx_t* mutex, const timespec* deadline) {
    return ResultOf(pthread_cond_timedwait(Posix(condition), Posix(mutex), deadline));
}

}  // extern "C"
