// Put before the C library's own (LD_PRELOAD): a file cannot be synced while the directory that
// QUILLON_SYNC_FAILS names holds one of the same name.

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

int SyncUnlessItFails(long call, int descriptor) {
    namespace fs = std::filesystem;
    std::error_code error;
    const char* const signs = std::getenv("QUILLON_SYNC_FAILS");
    const fs::path file = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error).filename();
    if (signs != nullptr && fs::exists(signs / file, error)) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(call, descriptor));
}

}  // namespace

extern "C" int fsync(int descriptor) {
    return SyncUnlessItFails(SYS_fsync, descriptor);
}

extern "C" int fdatasync(int descriptor) {
    return SyncUnlessItFails(SYS_fdatasync, descriptor);
}
