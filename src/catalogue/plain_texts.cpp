// Plain texts: what callers lay over the fixed names.
#include <new>
#include <string>

#include "catalogue/catalogue.h"
#include "zinc/text.h"

namespace TmxPLC {

// A set text in the three forms, none of which is computed when it is asked for.
struct TextBlock::OwnedForms {
    std::string narrow;
    std::string narrowU8;
    Zinc::WideString wide;

    static OwnedForms Of(const WideChar* text) {
        const Zinc::WideView view(text);
        return {Zinc::WideToAnsi(view), Zinc::WideToUtf8(view), Zinc::WideString(view)};
    }
    TextForms Forms() const noexcept { return {narrow.c_str(), narrowU8.c_str(), wide.c_str()}; }
};

struct TextBlock::OwnedTexts {
    OwnedForms nativePlain;
    OwnedForms alternatePlain;
    OwnedForms description;
};

void TextBlock::OwnedDeleter::operator()(OwnedTexts* texts) const noexcept { delete texts; }

const TextForms& TextBlock::Plain() const noexcept {
    return nativeTranslation ? nativePlain_ : alternatePlain_;
}

bool TextBlock::SetPlain(const WideChar* plainName, const WideChar* description) noexcept {
    const bool setsPlain = plainName != nullptr && *plainName != 0;
    const bool setsDescription = description != nullptr && *description != 0;
    if (!setsPlain && !setsDescription) return true;
    // All conversions come first: what may fail leaves the texts as they stand.
    OwnedForms newPlain, newDescription;
    try {
        if (setsPlain) newPlain = OwnedForms::Of(plainName);
        if (setsDescription) newDescription = OwnedForms::Of(description);
        if (!owned_) owned_.reset(new OwnedTexts);
    } catch (const std::exception&) {
        return false;
    }
    if (setsPlain) {
        OwnedForms& owned = nativeTranslation ? owned_->nativePlain : owned_->alternatePlain;
        owned = std::move(newPlain);
        (nativeTranslation ? nativePlain_ : alternatePlain_) = owned.Forms();
    }
    if (setsDescription) {
        owned_->description = std::move(newDescription);
        description_ = owned_->description.Forms();
    }
    return true;
}

}  // namespace TmxPLC
