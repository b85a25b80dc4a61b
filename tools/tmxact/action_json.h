// One action as one line of JSON, from its typed values.
#ifndef TMXACT_ACTION_JSON_H
#define TMXACT_ACTION_JSON_H

#include "action_source.h"
#include "json_text.h"

namespace tmxact {

// Puts the action as a JSON object. mayBeUtf8 tells that narrow texts may have come from UTF-8
// text. False, with the library's last error recorded, if the action can't be decoded.
bool PutActionJson(JsonText& json, const ReadAction& action, bool mayBeUtf8);

}  // namespace tmxact

#endif
