#include "platform/stores/sqlite/StoreFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "platform/stores/RecordStore.h"
#include "platform/stores/sqlite/SqliteLayout.h"

namespace CommonServices::Sqlite {

namespace {

[[noreturn]] void Fail(const std::string& what, const std::string& path, int error,
                       const std::string& advice) {
    throw ObjectStoreException(what + " '" + path + "': " + std::generic_category().message(error) + "; " +
                               advice);
}

// Gives what it makes this mode, whatever the umask, and leaves what is there as it is. 0, or the error.
int MakeDirectory(const std::filesystem::path& directory, mode_t mode) {
    std::error_code error;
    if (directory.empty() || std::filesystem::is_directory(directory, error)) {
        return 0;
    }
    if (::mkdir(directory.c_str(), mode) == 0) {
        return ::chmod(directory.c_str(), mode) == 0 ? 0 : errno;
    }
    return errno == EEXIST ? 0 : errno;  // another service was faster; a file in the way fails soon enough
}

// Others may pass through its parents, but put nothing in the place of what lies in them.
void MakeDirectoryWithParents(const std::filesystem::path& directory) {
    constexpr mode_t kModeOfParents = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;
    std::filesystem::path made;
    int error = 0;
    for (const auto& part : directory.parent_path()) {
        made /= part;
        error = error == 0 ? MakeDirectory(made, kModeOfParents) : error;
    }
    error = error == 0 ? MakeDirectory(directory, S_IRWXU) : error;
    if (error != 0) {
        Fail("The store's directory cannot be made:", directory.string(), error,
             "make its parent writable for this user or name another place");
    }
}

int OpenFile(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        Fail("The store's file cannot be opened:", path, errno,
             "make it and its directory writable for this user or name another file");
    }
    return descriptor;
}

// An empty file, or one that says it is a store. Any other is not ours to change; it is refused later, by
// whoever reads it.
bool MayBeStore(int descriptor) {
    std::array<unsigned char, 4> id{};
    const ssize_t bytes = ::pread(descriptor, id.data(), id.size(), kApplicationIdPlace);
    if (bytes == 0) {
        struct stat state {};
        return ::fstat(descriptor, &state) == 0 && state.st_size == 0;
    }
    std::uint32_t number = 0;
    for (const unsigned char byte : id) {
        number = (number << 8U) | byte;
    }
    return number == static_cast<std::uint32_t>(kApplicationId);
}

}  // namespace

StoreFile::StoreFile(const std::string& path) : m_markPath(path + "-doubt") {
    MakeDirectoryWithParents(std::filesystem::path(path).parent_path());
    m_descriptor = OpenFile(path);
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(m_descriptor);
        if (error == EWOULDBLOCK) {
            throw ObjectStoreException("The store's file '" + path +
                                       "' is in use by another service; stop that one or name another file");
        }
        Fail("The store's file cannot be claimed:", path, error, "name a file on a local disk");
    }
    // The log and the shared memory beside it take the mode of the file. A file of another owner that lets us
    // write keeps its mode: it was set on purpose.
    if (MayBeStore(m_descriptor)) {
        static_cast<void>(::fchmod(m_descriptor, S_IRUSR | S_IWUSR));
        for (const char* const part : {"-wal", "-shm"}) {  // where a process that ended early left them
            static_cast<void>(::chmod((path + part).c_str(), S_IRUSR | S_IWUSR));
        }
    }
}

StoreFile::~StoreFile() {
    ::close(m_descriptor);
}

int StoreFile::Sync() const noexcept {
    return ::fdatasync(m_descriptor) == 0 ? 0 : errno;
}

void StoreFile::Doubt() const noexcept {
    const int mark = ::open(m_markPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (mark >= 0) {
        static_cast<void>(::fsync(mark));
        ::close(mark);
    }
}

bool StoreFile::IsDoubted() const {
    std::error_code unknown;
    return std::filesystem::exists(m_markPath, unknown);
}

void StoreFile::Trust() const noexcept {
    ::unlink(m_markPath.c_str());
}

}  // namespace CommonServices::Sqlite
