// The library's description of itself: which actions exist, their parameters, the enumerations, and
// the way from a name or a code to a class. Built once at load; read-only from then on but for
// plain texts and the native-translation flag, which have no lock.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "catalogue/name.h"
#include "objects/descriptor.h"
#include "zinc/exceptions.h"

namespace TmxPLC {

/// What the description of a template is called in its text.
inline constexpr Name kDescriptionName = TMX_NAME("Comment");

/// A text in the three forms that are held ready.
struct TextForms {
    const char* narrow;    // ANSI
    const char* narrowU8;  // UTF-8
    const WideChar* wide;
};

/// The eleven texts of an item. Names lie in the constant table; the others point at the name until
/// one is set.
class TextBlock {
  public:
    TextBlock(const char* staticName, const WideChar* staticNameW) noexcept
        : name(staticName),
          nameW(staticNameW),
          nativePlain_{staticName, staticName, staticNameW},
          alternatePlain_(nativePlain_),
          description_(nativePlain_) {}

    const char* name;
    const WideChar* nameW;

    /// The plain name of the set that the native-translation flag selects.
    const TextForms& Plain() const noexcept;
    const TextForms& Description() const noexcept { return description_; }

    /// Replaces the plain name of the selected set and the description; a null or empty text leaves
    /// what stood there. Returns false where memory runs out, with nothing changed.
    bool SetPlain(const WideChar* plainName, const WideChar* description) noexcept;

  private:
    struct OwnedForms;
    struct OwnedTexts;
    struct OwnedDeleter {
        void operator()(OwnedTexts* texts) const noexcept;
    };
    TextForms nativePlain_;
    TextForms alternatePlain_;
    TextForms description_;
    std::unique_ptr<OwnedTexts, OwnedDeleter> owned_;  // null until a text is set
};

struct ParameterRecord {
    TextBlock text;
    std::uint32_t type;  // ParamType
    std::uint32_t kind;  // ParamKind
    std::uint32_t extra;
};

struct ActionRecord {
    TextBlock text;
    std::uint32_t index;  // the place in the order of names
    std::uint32_t classId;
    std::uint32_t code;
    std::uint32_t reserved;
    std::span<ParameterRecord> parameters;
};

struct ClassRecord {
    TextBlock text;
    std::uint32_t classId;
};

struct EnumValueRecord {
    TextBlock text;
    std::uint32_t enumId;
    std::int32_t value;
};

/// Fills a class's descriptor and appends it to the registration list, from which the catalogue is
/// built. Returns the descriptor.
const Descriptor& registerDescriptor(Descriptor& descriptor, std::uint32_t messageClass,
                                     std::uint32_t code,
                                     CTmxMessage* (*createFromTextA)(TextScanner<char>&),
                                     CTmxMessage* (*createFromBin)(BinInput&),
                                     CTmxMessage* (*createFromTextW)(TextScanner<WideChar>&));

/// The hash of a name, made while the name is looked for: begin, one step a unit, and the result.
class NameHash {
  public:
    template <typename Char>
    void Add(Char unit) noexcept {
        // The bit that tells the cases of a letter apart takes no part.
        hash_ = ((hash_ << 5) | (hash_ >> 27)) ^ (UnitOf<Char>(unit) | 0x20u);
    }
    std::uint32_t Value() const noexcept { return (hash_ * 0x9E3779B1u) >> 16; }

  private:
    std::uint32_t hash_ = 0;
};

class Catalogue {
  public:
    /// Builds everything from the constant table and the registration list, which must be complete.
    Catalogue();

    std::vector<ActionRecord> actions;         // in the order of names
    std::vector<ClassRecord> actionClasses;    // by id
    std::vector<EnumValueRecord> enumValues;   // by enumeration id, then by value
    std::vector<ParameterRecord> eventFields;  // the fields of the generic event record
    ActionRecord eventInfo;                    // the generic event record; no index, no class
    ParameterRecord matchActionDescription;    // "Comment", the description of match actions

    ActionRecord* FindAction(std::uint32_t code) noexcept;
    ClassRecord* FindClass(std::uint32_t classId) noexcept;
    ParameterRecord* FindParameter(std::uint32_t code, std::uint32_t index) noexcept;
    EnumValueRecord* FindEnumValue(std::uint32_t enumId, std::int32_t value) noexcept;
    bool HasEnumValues(std::uint32_t enumId) const noexcept;

    /// The descriptor of a class of messages, by code or by name (any ASCII case, exactly this
    /// length); null if there is none.
    const Descriptor* FindDescriptor(std::uint32_t messageClass, std::uint32_t code) const noexcept;
    template <typename Char>
    const Descriptor* FindDescriptor(std::uint32_t messageClass, const Char* name,
                                     std::size_t length, const NameHash& hash) const noexcept;

    /// The record of a parameter of a class; "Comment" for an index beyond the list, -1 included.
    const ParameterRecord& Parameter(const Descriptor& descriptor,
                                     std::int32_t index) const noexcept;

  private:
    struct Bucket {
        std::uint16_t action = 0;  // index + 1; 0 is empty
        std::uint16_t length = 0;
    };
    void AddDescriptor(Descriptor& descriptor) noexcept;
    void AddName(const ActionRecord& record) noexcept;

    std::vector<ParameterRecord> parameters_;           // of all actions
    std::vector<std::uint16_t> actionByCode_;           // index + 1; 0 is none
    std::vector<const Descriptor*> actionDescriptors_;  // by index
    std::vector<const Descriptor*> matchDescriptors_;   // by index
    std::vector<Bucket> buckets_;                       // open addressing, a power of two
};

/// The catalogue of the module, and its two moments.
void BuildCatalogue();
void TearDownCatalogue() noexcept;
Catalogue& TheCatalogue() noexcept;

/// Which set of plain names is read and set; a single byte without a lock.
extern bool nativeTranslation;

}  // namespace TmxPLC
