// The registry: a file in the text form that the registry editor of Windows exports (".reg"), in
// UTF-16 with a byte order mark, or in UTF-8, or with the header REGEDIT4 in the ANSI code page. It
// is read anew for each query, in small pieces. What can't be understood in it is passed over; an
// entry that comes later wins.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/platform.h"
#include "platform/posix/descriptor.h"

namespace Platform {

using Detail::ErrnoGuard;

namespace {

using WideView = std::basic_string_view<WideChar>;

constexpr const char* kRegistryFile = "/etc/velmont/zinc.reg";
constexpr WideView kRoot = TMX_WIDE("HKEY_LOCAL_MACHINE\\");
// A file beyond this size is not read to its end.
constexpr std::size_t kMaxFile = 4 * 1024 * 1024;

const char* RegistryPath() noexcept {
    const char* path = secure_getenv("ZINC_REGISTRY");
    return path != nullptr && *path != '\0' ? path : kRegistryFile;
}

bool IsBlank(WideChar unit) noexcept { return unit == ' ' || unit == '\t'; }

WideView Trimmed(WideView text) noexcept {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool SameText(WideView left, WideView right) noexcept {
    return left.size() == right.size() &&
           CompareIgnoreCase(left.data(), left.size(), right.data(), right.size()) == kEqual;
}

int HexDigit(WideChar unit) noexcept {
    if (unit >= '0' && unit <= '9') return unit - '0';
    if (unit >= 'a' && unit <= 'f') return unit - 'a' + 10;
    if (unit >= 'A' && unit <= 'F') return unit - 'A' + 10;
    return -1;
}

/// Up to maxDigits hexadecimal digits at the beginning of a text, which is moved on behind them.
/// False: there is none.
bool ReadHex(WideView& text, unsigned maxDigits, std::uint32_t& number) noexcept {
    number = 0;
    unsigned count = 0;
    for (; count < maxDigits && !text.empty() && HexDigit(text.front()) >= 0; ++count) {
        number = number << 4 | static_cast<std::uint32_t>(HexDigit(text.front()));
        text.remove_prefix(1);
    }
    return count > 0;
}

bool Skip(WideView& text, WideChar unit) noexcept {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

// ---- Lines --------------------------------------------------------------------------------------

class RegistryFile {
  public:
    RegistryFile() noexcept {
        file_ = open(RegistryPath(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        struct stat status;
        if (file_ >= 0 && (fstat(file_, &status) != 0 || !S_ISREG(status.st_mode))) Close();
        FindOutEncoding();
    }
    ~RegistryFile() { Close(); }
    RegistryFile(const RegistryFile&) = delete;
    RegistryFile& operator=(const RegistryFile&) = delete;

    /// Whether text in "hex" data is in single bytes, not in UTF-16.
    bool HasNarrowText() const noexcept { return page_ == CodePage::Ansi; }

    /// The next line without its blanks at both ends, with the lines that a backslash at the end
    /// joins to it. False: there is none. A line that is too long comes as an empty one.
    bool NextLine(WideView& line) noexcept {
        size_ = 0;
        bool tooLong = false;
        for (bool first = true;; first = false) {
            if (!NextPart(tooLong) && first) return false;
            // Only an entry goes on: a path in a remark may end so, too.
            if (size_ == 0 || line_[size_ - 1] != '\\') break;
            if (line_[0] != '"' && line_[0] != '@') break;
            --size_;
            if (atEnd_) break;
        }
        line = tooLong ? WideView() : WideView(line_, size_);
        return true;
    }

  private:
    enum class Encoding { Bytes, Utf16 };

    void Close() noexcept {
        if (file_ >= 0) close(file_);
        file_ = -1;
    }

    void FindOutEncoding() noexcept {
        Fill();
        const auto beginsWith = [this](std::string_view bytes) {
            return std::string_view(buffer_, filled_).substr(0, bytes.size()) == bytes;
        };
        if (beginsWith("\xFF\xFE")) {
            encoding_ = Encoding::Utf16;
            at_ = 2;
        } else if (beginsWith("\xEF\xBB\xBF")) {
            at_ = 3;
        } else if (beginsWith("REGEDIT4")) {
            page_ = CodePage::Ansi;
        }
    }

    void Fill() noexcept {
        at_ = 0;
        filled_ = 0;
        if (file_ < 0 || read_ >= kMaxFile) return;
        ssize_t count;
        do count = read(file_, buffer_, sizeof buffer_);
        while (count < 0 && errno == EINTR);
        if (count > 0) filled_ = static_cast<std::size_t>(count);
        read_ += filled_;
    }

    /// -1: the file's end.
    int NextByte() noexcept {
        if (at_ == filled_) Fill();
        return at_ < filled_ ? static_cast<unsigned char>(buffer_[at_++]) : -1;
    }

    int NextUnit() noexcept {
        const int low = NextByte();
        if (encoding_ == Encoding::Bytes || low < 0) return low;
        const int high = NextByte();
        return high < 0 ? -1 : low | high << 8;
    }

    /// Adds a line of the file behind the line so far, without its blanks. False: there is none.
    bool NextPart(bool& tooLong) noexcept {
        const std::size_t begin = size_;
        std::size_t bytes = 0;
        bool any = false;
        for (;;) {
            const int unit = NextUnit();
            if (unit < 0) atEnd_ = true;
            if (unit < 0 || unit == '\n') break;
            any = true;
            if (encoding_ == Encoding::Bytes) {
                if (bytes < sizeof bytes_)
                    bytes_[bytes++] = static_cast<char>(unit);
                else
                    tooLong = true;
            } else if (size_ < kCapacity) {
                line_[size_++] = static_cast<WideChar>(unit);
            } else {
                tooLong = true;
            }
        }
        if (encoding_ == Encoding::Bytes) {
            const std::ptrdiff_t count =
                NarrowToWide(page_, 0, bytes_, bytes, line_ + begin, kCapacity - begin);
            if (count > static_cast<std::ptrdiff_t>(kCapacity - begin))
                tooLong = true;
            else if (count > 0)
                size_ = begin + static_cast<std::size_t>(count);
        }
        if (size_ > begin && line_[size_ - 1] == '\r') --size_;
        const WideView trimmed = Trimmed({line_ + begin, size_ - begin});
        std::memmove(line_ + begin, trimmed.data(), trimmed.size() * sizeof(WideChar));
        size_ = begin + trimmed.size();
        return any || !atEnd_;
    }

    static constexpr std::size_t kCapacity = 4096;
    int file_ = -1;
    Encoding encoding_ = Encoding::Bytes;
    CodePage page_ = CodePage::Utf8;
    bool atEnd_ = false;
    std::size_t read_ = 0;
    char buffer_[4096];
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
    char bytes_[kCapacity];
    WideChar line_[kCapacity];
    std::size_t size_ = 0;
};

// ---- Values -------------------------------------------------------------------------------------

/// The text of a quoted string at the beginning of a line, which is moved on behind it.
bool ReadQuoted(WideView& line, WideChar* text, std::size_t capacity, std::size_t& size) noexcept {
    size = 0;
    if (!Skip(line, '"')) return false;
    while (!line.empty()) {
        WideChar unit = line.front();
        line.remove_prefix(1);
        if (unit == '"') return true;
        if (unit == '\\' && !line.empty()) {
            unit = line.front();
            line.remove_prefix(1);
        }
        if (size == capacity) return false;
        text[size++] = unit;
    }
    return false;
}

bool ReadDword(WideView data, RegistryValue& value) noexcept {
    std::uint32_t number;
    if (!ReadHex(data, 8, number) || !data.empty()) return false;
    value.type = kRegistryDword;
    value.size = 4;
    for (std::size_t i = 0; i < 4; ++i)
        value.data[i] = static_cast<unsigned char>(number >> (8 * i));
    return true;
}

/// Puts text into a value, with a terminator.
bool StoreText(std::uint32_t type, const WideChar* text, std::size_t size,
               RegistryValue& value) noexcept {
    constexpr std::ptrdiff_t kRoom = sizeof value.data - 1;
    char* const target = reinterpret_cast<char*>(value.data);
    const std::ptrdiff_t count = WideToNarrow(CodePage::Ansi, 0, text, size, target, kRoom);
    if (count < 0 || count > kRoom) return false;
    value.type = type;
    value.size = static_cast<std::size_t>(count) + 1;
    value.data[count] = 0;
    return true;
}

constexpr std::uint32_t kRegistryBinary = 3;
constexpr std::uint32_t kRegistryMultiText = 7;

/// What stands behind "hex": a type in parentheses or none, a colon, bytes with commas between.
bool ReadBytes(WideView data, bool narrowText, RegistryValue& value) noexcept {
    std::uint32_t type = kRegistryBinary;
    if (Skip(data, '(') && (!ReadHex(data, 8, type) || !Skip(data, ')'))) return false;
    if (!Skip(data, ':')) return false;
    unsigned char bytes[2 * sizeof value.data];
    std::size_t size = 0;
    for (data = Trimmed(data); !data.empty(); data = Trimmed(data)) {
        std::uint32_t byte;
        if (size == sizeof bytes || !ReadHex(data, 2, byte)) return false;
        bytes[size++] = static_cast<unsigned char>(byte);
        data = Trimmed(data);
        if (!data.empty() && !Skip(data, ',')) return false;
    }
    const bool isText =
        type == kRegistryText || type == kRegistryExpandText || type == kRegistryMultiText;
    if (isText && !narrowText) {
        if (size % 2 != 0) return false;
        WideChar text[sizeof value.data];
        for (std::size_t i = 0; i < size / 2; ++i)
            text[i] = static_cast<WideChar>(bytes[2 * i] | bytes[2 * i + 1] << 8);
        return StoreText(type, text, size / 2, value);
    }
    if (size > sizeof value.data) return false;
    value.type = type;
    value.size = size;
    std::memcpy(value.data, bytes, size);
    return true;
}

bool StartsWith(WideView& text, WideView prefix) noexcept {
    if (!SameText(text.substr(0, prefix.size()), prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

enum class Outcome { NotUnderstood, Deleted, Read };

Outcome ReadData(WideView data, bool narrowText, RegistryValue& value) noexcept {
    if (data == TMX_WIDE("-")) return Outcome::Deleted;
    bool good = false;
    if (!data.empty() && data.front() == '"') {
        WideChar text[sizeof value.data];
        std::size_t size = 0;
        good = ReadQuoted(data, text, sizeof value.data, size) && data.empty() &&
               StoreText(kRegistryText, text, size, value);
    } else if (StartsWith(data, TMX_WIDE("dword:"))) {
        good = ReadDword(Trimmed(data), value);
    } else if (StartsWith(data, TMX_WIDE("hex"))) {
        good = ReadBytes(data, narrowText, value);
    }
    return good ? Outcome::Read : Outcome::NotUnderstood;
}

// ---- Keys ---------------------------------------------------------------------------------------

/// The position of a reading in the file: whether it is in the key, and whether the key is there.
class KeyFinder {
  public:
    explicit KeyFinder(WideView path) noexcept : path_(path) {}
    bool IsInKey() const noexcept { return inKey_; }
    bool IsThere() const noexcept { return there_; }

    /// A line in brackets. True: it deletes the key.
    bool See(WideView line) noexcept {
        inKey_ = false;
        if (line.back() != ']') return false;
        line = line.substr(1, line.size() - 2);
        const bool deletes = Skip(line, '-');
        if (!StartsWith(line, kRoot)) return false;
        if (deletes) {
            // A key goes with all that is below it.
            const bool above = path_.size() > line.size() && path_[line.size()] == '\\' &&
                               SameText(path_.substr(0, line.size()), line);
            if (!above && !SameText(line, path_)) return false;
            there_ = false;
            return true;
        }
        inKey_ = SameText(line, path_);
        there_ = there_ || inKey_;
        return false;
    }

  private:
    WideView path_;
    bool inKey_ = false;
    bool there_ = false;
};

/// Reads the file to its end. Returns whether the key is there; with a name, whether that value is.
bool ReadRegistry(const char* path, const char* name, RegistryValue* value) noexcept {
    const ErrnoGuard guard;
    constexpr std::size_t kCapacity = 256;
    WideChar key[kCapacity];
    WideChar wantedName[kCapacity];
    const auto widen = [](const char* text, WideChar* target) {
        const std::ptrdiff_t count =
            NarrowToWide(CodePage::Ansi, 0, text, std::strlen(text), target, kCapacity);
        const bool fits = count > 0 && count <= static_cast<std::ptrdiff_t>(kCapacity);
        return WideView(target, fits ? static_cast<std::size_t>(count) : 0);
    };
    KeyFinder finder(widen(path, key));
    const WideView wanted = name != nullptr ? widen(name, wantedName) : WideView();

    RegistryFile file;
    RegistryValue read;
    bool found = false;
    for (WideView line; file.NextLine(line);) {
        if (line.empty() || line.front() == ';') continue;
        if (line.front() == '[') {
            if (finder.See(line)) found = false;
            continue;
        }
        if (name == nullptr || !finder.IsInKey()) continue;
        WideChar text[kCapacity];
        std::size_t size = 0;
        if (!ReadQuoted(line, text, kCapacity, size) || !SameText({text, size}, wanted)) continue;
        line = Trimmed(line);
        if (!Skip(line, '=')) continue;
        switch (ReadData(Trimmed(line), file.HasNarrowText(), read)) {
            case Outcome::NotUnderstood:
                break;
            case Outcome::Deleted:
                found = false;
                break;
            case Outcome::Read:
                found = true;
                *value = read;
                break;
        }
    }
    return name != nullptr ? found : finder.IsThere();
}

}  // namespace

bool RegistryKey::Open(const char* path) noexcept {
    Close();
    if (std::strlen(path) >= sizeof path_ || !ReadRegistry(path, nullptr, nullptr)) return false;
    std::strcpy(path_, path);
    handle_ = 0;
    return true;
}

bool RegistryKey::Query(const char* name, RegistryValue& value) const noexcept {
    return handle_ != kNone && ReadRegistry(path_, name, &value);
}

void RegistryKey::Close() noexcept { handle_ = kNone; }

// ---- The environment ----------------------------------------------------------------------------

std::size_t ExpandEnvironment(const char* text, char* target, std::size_t capacity) noexcept {
    std::size_t size = 0;
    const auto append = [&](std::string_view part) {
        if (part.size() >= capacity - size) return false;
        size += part.copy(target + size, part.size());
        return true;
    };
    if (capacity == 0) return 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = rest.front() == '%' ? rest.find('%', 1) : std::string_view::npos;
        char name[256];
        if (end != std::string_view::npos && end > 1 && end <= sizeof name) {
            name[rest.copy(name, end - 1, 1)] = '\0';
            if (const char* const value = secure_getenv(name)) {
                if (!append(value)) return *target = '\0', 0;
                rest.remove_prefix(end + 1);
                continue;
            }
        }
        // Up to the next sign, which may begin a name.
        const std::string_view part = rest.substr(0, rest.find('%', 1));
        if (!append(part)) return *target = '\0', 0;
        rest.remove_prefix(part.size());
    }
    target[size] = '\0';
    return size;
}

}  // namespace Platform
