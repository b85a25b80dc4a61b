#include "objects/message.h"

namespace TmxPLC {

GuidRef* CTmxAction::GetGuidReference(std::uint32_t&) noexcept { return nullptr; }
GuidRef* CTmxAction::GetChannelGuidReference(std::uint32_t&) noexcept { return nullptr; }
NamedId* CTmxAction::GetNamedId() noexcept { return nullptr; }
ObjectRef* CTmxAction::GetVideoInput() noexcept { return nullptr; }
ObjectRef* CTmxAction::GetVideoOutput() noexcept { return nullptr; }
ObjectRef* CTmxAction::GetInputContact() noexcept { return nullptr; }
ObjectRef* CTmxAction::GetOutputContact() noexcept { return nullptr; }
std::int64_t* CTmxAction::GetForeignKey() noexcept { return nullptr; }
std::int32_t CTmxAction::GetGenericInt32Parameter() const noexcept { return 0; }
ClientParameters CTmxAction::GetClientParameters() noexcept { return {}; }

}  // namespace TmxPLC
