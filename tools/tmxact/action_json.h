// One action as one line of JSON, from its typed values.
#ifndef TMXACT_ACTION_JSON_H
#define TMXACT_ACTION_JSON_H

#include <string>
#include <vector>

#include "action_source.h"
#include "json_text.h"

namespace tmxact {

// Which rule or templates an action has to do with.
struct Labels {
    const char* key = "";                   // in JSON
    bool many = false;                      // a list in JSON, else one text
    std::vector<const std::string*> texts;  // UTF-8; one or more
};

// Puts the action as a JSON object. mayBeUtf8 tells that narrow texts may have come from UTF-8
// text; labels, which may be null, are told beside the action. False, with the library's last error
// recorded, if the action can't be decoded.
bool PutActionJson(JsonText& json, const ReadAction& action, bool mayBeUtf8,
                   const Labels* labels = nullptr);

}  // namespace tmxact

#endif
