// Pages, the executable, and the files that diagnostics write.
#include <windows.h>

#include <algorithm>

#include "platform/platform.h"

namespace Platform {

// ---- Pages --------------------------------------------------------------------------------------

void* AllocatePages(std::size_t bytes) noexcept {
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void FreePages(void* pages, std::size_t /*bytes*/) noexcept { VirtualFree(pages, 0, MEM_RELEASE); }

// ---- The executable -----------------------------------------------------------------------------

namespace {

/// Where the path doesn't fit, the system cuts it and returns the size of the target; not every one
/// terminates it then.
template <typename Char>
std::size_t Terminated(Char* text, DWORD size, std::size_t capacity) noexcept {
    const std::size_t units = size < capacity ? size : capacity - 1;
    text[units] = 0;
    return units;
}

DWORD Clip(std::size_t capacity) noexcept {
    return static_cast<DWORD>(std::min<std::size_t>(capacity, 0x7FFFFFFF));
}

}  // namespace

std::size_t ExecutablePath(char* text, std::size_t capacity) noexcept {
    if (capacity == 0) return 0;
    return Terminated(text, GetModuleFileNameA(nullptr, text, Clip(capacity)), capacity);
}

std::size_t ExecutablePath(WideChar* text, std::size_t capacity) noexcept {
    if (capacity == 0) return 0;
    return Terminated(text, GetModuleFileNameW(nullptr, text, Clip(capacity)), capacity);
}

// ---- Files --------------------------------------------------------------------------------------

namespace {

/// A security descriptor that lets only the process's user at a file. All of it lies in the object:
/// a process that has crashed has no heap.
class OwnerOnlyAccess {
  public:
    OwnerOnlyAccess() noexcept {
        HANDLE token = nullptr;
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return;
        DWORD size = 0;
        const bool known = GetTokenInformation(token, TokenUser, user_, sizeof user_, &size) != 0;
        CloseHandle(token);
        if (!known) return;
        ACL* const list = reinterpret_cast<ACL*>(list_);
        made_ = InitializeAcl(list, sizeof list_, ACL_REVISION) &&
                AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL,
                                    reinterpret_cast<const TOKEN_USER*>(user_)->User.Sid) &&
                InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) &&
                SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE) &&
                // The folder's rules don't come on top.
                SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED);
        attributes_ = {sizeof attributes_, &descriptor_, FALSE};
    }
    OwnerOnlyAccess(const OwnerOnlyAccess&) = delete;
    OwnerOnlyAccess& operator=(const OwnerOnlyAccess&) = delete;

    /// Null where the user can't be found out: the file then has the folder's rules.
    SECURITY_ATTRIBUTES* Attributes() noexcept { return made_ ? &attributes_ : nullptr; }

  private:
    alignas(8) unsigned char user_[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    alignas(
        8) unsigned char list_[sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + SECURITY_MAX_SID_SIZE];
    SECURITY_DESCRIPTOR descriptor_;
    SECURITY_ATTRIBUTES attributes_;
    bool made_ = false;
};

HANDLE HandleOf(std::intptr_t handle) noexcept { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

bool OutputFile::Open(const char* path, Access access) noexcept {
    Close();
    HANDLE handle = INVALID_HANDLE_VALUE;
    if (access == Access::Default) {
        handle = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    } else {
        OwnerOnlyAccess owner;
        // A file that somebody else has put there is left alone.
        handle = CreateFileA(path, GENERIC_WRITE, 0, owner.Attributes(), CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    handle_ = reinterpret_cast<std::intptr_t>(handle);
    return IsOpen();
}

bool OutputFile::Write(const void* bytes, std::size_t size) noexcept {
    if (!IsOpen()) return false;
    const char* from = static_cast<const char*>(bytes);
    while (size > 0) {
        constexpr std::size_t kMost = 1 << 24;
        DWORD written = 0;
        if (!WriteFile(HandleOf(handle_), from, static_cast<DWORD>(std::min(size, kMost)), &written,
                       nullptr) ||
            written == 0)
            return false;
        from += written;
        size -= written;
    }
    return true;
}

void OutputFile::Close() noexcept {
    if (IsOpen()) CloseHandle(HandleOf(handle_));
    handle_ = kNone;
}

bool FileExists(const char* path) noexcept {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExA(path, GetFileExInfoStandard, &data) &&
           (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool RemoveFile(const char* path) noexcept { return DeleteFileA(path) != 0; }

}  // namespace Platform
