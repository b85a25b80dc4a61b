/*
 * TmxActions: the generic functions.
 *
 * What holds for all of them stands in types.h. Besides:
 *
 *  - A framed function records its failure for the calling thread and returns false, null or 0; on
 *    success it clears the thread's last error. Every function of this header is framed, unless its
 *    section says that it isn't; so are all typed functions.
 *  - After a failure read TmxAct_GetLastError on the same thread before the next call.
 *  - Where a function returns null although nothing failed, it clears the last error.
 */
#ifndef TMXACTIONS_FUNCTIONS_H
#define TMXACTIONS_FUNCTIONS_H

#include <tmxactions/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Module and errors; not framed ---------------------------------------------------------- */

/* The version of this interface: 106. */
TMXACT_API uint32_t TmxAct_InterfaceVersion(void);

/* The date of this interface, "26.02.2018"; static. */
TMXACT_API const char* TmxAct_InterfaceDate(void);

/* Tells the calling thread's last failure.
 * info: out, filled on true and left alone on false. Its texts belong to the thread's record: they
 *     stay until the thread's next failing call, or until the thread ends; a success in between
 *     leaves them in place.
 * Returns: true if the last framed call of this thread failed, else false. */
TMXACT_API bool TmxAct_GetLastError(TmxErrorInfo* info);

/* The number of live message objects of the process. It counts objects, not handles:
 * TmxAct_DuplicateHandle leaves it as it is. */
TMXACT_API uint32_t TmxAct_GetNumberOfOpenHandles(void);

/* Selects the set of plain names that is read and set from now on: the native one (true, as at
 * start) or the alternate one. Process-wide and without a lock: call it before other threads read
 * plain texts. Returns: true. */
TMXACT_API bool TmxAct_SetNativeTranslation(bool native);

/* Tells which set of plain names is selected. Returns: true. */
TMXACT_API bool TmxAct_GetNativeTranslation(bool* native);

/* ---- Catalogue; not framed ------------------------------------------------------------------ */
/*
 * Queries allocate nothing. All pointers in the records belong to the catalogue; a plain text or a
 * description stays until a setter replaces it, a name for the life of the process. An Enumerate
 * function fills at most capacity records, in the catalogue's order, and returns how many it
 * filled.
 */

/* The number of actions. */
TMXACT_API uint32_t TmxAct_GetNumberOfActions(void);

/* The number of action classes. */
TMXACT_API uint32_t TmxAct_GetNumberOfActionClasses(void);

/* The number of parameters of the action of this code; 0 if there is none. */
TMXACT_API uint32_t TmxAct_GetNumberOfActionParameters(uint32_t code);

/* The number of values of an enumeration, or of all enumerations for TMX_NONE. */
TMXACT_API uint32_t TmxAct_GetNumberOfEnumValues(uint32_t enumId);

/* The code of the action at this index (0 up, in the order of names), else TMX_NONE. */
TMXACT_API uint32_t TmxAct_GetActionCodeByIndex(uint32_t index);

/* The index of the action of this code, else TMX_NONE. */
TMXACT_API uint32_t TmxAct_GetInternalIndexByCode(uint32_t code);

/* The code of the action of this name, without regard to ASCII case, else TMX_NONE. Plain names
 * take no part. */
TMXACT_API uint32_t TmxAct_GetActionCodeByNameA(const char* name);
TMXACT_API uint32_t TmxAct_GetActionCodeByNameW(const TmxWChar* name);

/* The id of the action class of this name, without regard to ASCII case, else TMX_NONE. */
TMXACT_API uint32_t TmxAct_GetActionClassByNameA(const char* name);
TMXACT_API uint32_t TmxAct_GetActionClassByNameW(const TmxWChar* name);

/* Tells the facts of the action of this code. Returns: false, and info untouched, if there is
 * none. */
TMXACT_API bool TmxAct_GetActionInfo(TmxActionInfo* info, uint32_t code);

/* Tells the facts of the actions, in the order of their index. */
TMXACT_API uint32_t TmxAct_EnumerateActions(TmxActionInfo* infos, uint32_t capacity);

/* Tells the facts of the action class of this id. Returns: false, and info untouched, if there is
 * none. */
TMXACT_API bool TmxAct_GetActionClassInfo(TmxActionClassInfo* info, uint32_t classId);

/* Tells the facts of the action classes, in the order of their id. */
TMXACT_API uint32_t TmxAct_EnumerateActionClasses(TmxActionClassInfo* infos, uint32_t capacity);

/* Tells the facts of one parameter (index from 0) of the action of this code. Returns: false, and
 * info untouched, if there is no such action or parameter. */
TMXACT_API bool TmxAct_GetActionParameterInfo(TmxParameterInfo* info, uint32_t code,
                                              uint32_t index);

/* Tells the facts of the parameters of the action of this code, in their order. */
TMXACT_API uint32_t TmxAct_EnumerateActionParameters(TmxParameterInfo* infos, uint32_t capacity,
                                                     uint32_t code);

/* Tells the facts of one value of an enumeration. Returns: false, and info untouched, if the value
 * has no name. */
TMXACT_API bool TmxAct_GetEnumValueInfo(TmxEnumValueInfo* info, uint32_t enumId, uint32_t value);

/* Tells the facts of the values of one enumeration, or of all for TMX_NONE, ascending by id and
 * then by value as a signed number. */
TMXACT_API uint32_t TmxAct_EnumerateEnumValues(TmxEnumValueInfo* infos, uint32_t capacity,
                                               uint32_t enumId);

/* Tells the facts of one field (index 0 to 13) of the generic event record. Returns: false, and
 * info untouched, if the index is out of range. */
TMXACT_API bool TmxAct_GetEventFieldInfo(TmxParameterInfo* info, uint32_t index);

/* Tells the facts of the fields of the generic event record, in their order. */
TMXACT_API uint32_t TmxAct_EnumerateEventFields(TmxParameterInfo* infos, uint32_t capacity);

/* Tells the facts of the generic event record itself: the class and the code are TMX_NONE, and
 * parameterCount is the number of its fields. Returns: true. */
TMXACT_API bool TmxAct_GetEventDescriptionInfo(TmxActionInfo* info);

/* Tells the facts of the pseudo-parameter that carries the description of a match action in text,
 * "Comment". Returns: true. */
TMXACT_API bool TmxAct_GetMatchActionDescriptionInfo(TmxParameterInfo* info);

/*
 * Plain texts. A setter takes plainNameW and descriptionW out of the record, and the key where it
 * stands in the record; it looks at nothing else. A text that is not null and not empty replaces
 * what stood there (the plain name in the set that the native-translation flag selects), in wide,
 * ANSI and UTF-8 form; a null or empty one leaves it. Names never change. There is no lock: call
 * the setters before other threads read plain texts. Where memory runs out a setter returns false
 * and changes nothing.
 */

/* Sets the plain texts of the action of info->code. Returns: false if there is none. */
TMXACT_API bool TmxAct_SetActionPlainInfo(const TmxActionInfo* info);

/* Sets the plain texts of the action class of info->classId. Returns: false if there is none. */
TMXACT_API bool TmxAct_SetActionClassPlainInfo(const TmxActionClassInfo* info);

/* Sets the plain texts of one parameter. Returns: false if there is no such action or
 * parameter. */
TMXACT_API bool TmxAct_SetActionParameterPlainInfo(const TmxParameterInfo* info, uint32_t code,
                                                   uint32_t index);

/* Sets the plain name of the enumeration value of info->enumId and info->value, and its
 * description, which is taken from info->nameW and shown by no query. Returns: false if the value
 * has no name. */
TMXACT_API bool TmxAct_SetEnumValuePlainInfo(const TmxEnumValueInfo* info);

/* Sets the plain texts of one field of the generic event record. Returns: false if the index is
 * out of range. */
TMXACT_API bool TmxAct_SetEventFieldPlainInfo(const TmxParameterInfo* info, uint32_t index);

/* Sets the plain texts of the generic event record. Returns: true. */
TMXACT_API bool TmxAct_SetEventDescriptionPlainInfo(const TmxActionInfo* info);

/* Sets the plain texts of the description of match actions. Returns: true. */
TMXACT_API bool TmxAct_SetMatchActionDescriptionPlainInfo(const TmxParameterInfo* info);

/* ---- Handles and messages ------------------------------------------------------------------- */

/* Makes a new object with the same parameters. Its flags and internal data are 0 and it has no
 * properties, whatever the original has.
 * clone: out, a new handle that the caller closes; null where there is no memory for the object.
 * Returns: true; false if a text could not be copied. */
TMXACT_API bool TmxAct_CloneHandle(TmxHandle handle, TmxHandle* clone);

/* Counts the same handle once more; it asks for one more TmxAct_CloseHandle. Returns: true. */
TMXACT_API bool TmxAct_DuplicateHandle(TmxHandle handle);

/* Gives back one reference; with the last one the object ends. Returns: true. */
TMXACT_API bool TmxAct_CloseHandle(TmxHandle handle);

/* Tells the reference count, a snapshot. Returns: true. */
TMXACT_API bool TmxAct_GetReferenceCounter(TmxHandle handle, uint32_t* count);

/* Tells TMX_MESSAGE_CLASS_ACTION or TMX_MESSAGE_CLASS_MATCH_ACTION. Returns: true. */
TMXACT_API bool TmxAct_GetMessageClass(TmxHandle handle, uint32_t* messageClass);

/* Sets the message flags (TMX_MESSAGE_FLAG_...); the library looks at bits 0 and 1 only.
 * Returns: true. */
TMXACT_API bool TmxAct_SetMessageFlags(TmxHandle handle, uint32_t flags);

/* Tells the message flags; 0 in a new object. Returns: true. */
TMXACT_API bool TmxAct_GetMessageFlags(TmxHandle handle, uint32_t* flags);

/* Sets 64 bits that are the caller's own; the library never looks at them. Returns: true. */
TMXACT_API bool TmxAct_SetInternalData(TmxHandle handle, uint64_t data);

/* Tells the caller's own 64 bits; 0 in a new object. Returns: true. */
TMXACT_API bool TmxAct_GetInternalData(TmxHandle handle, uint64_t* data);

/* Tells the index of the object's action in the catalogue. Returns: true; false on a generic
 * action. */
TMXACT_API bool TmxAct_GetInternalIndex(TmxHandle handle, uint32_t* index);

/* Compares two messages: equal are two of the same class and code whose parameters agree, in
 * order. References agree by the component that a gives: id (or GUID), else number, else name; so
 * the order of the arguments matters. Texts agree without regard to case, date-times by their
 * instant. Properties, flags and internal data take no part. A generic action equals nothing.
 * Returns: true, and the answer goes to equal; false if the system can't compare two texts. */
TMXACT_API bool TmxAct_Equal(TmxHandle a, TmxHandle b, bool* equal);

/* Tells the action code (TmxActionCode), TMX_GENERIC_ACTION_CODE for a generic action.
 * Returns: true. */
TMXACT_API bool TmxAct_GetActionCode(TmxHandle handle, uint32_t* code);

/* Tells the id of the action's class (TmxActionClass). Returns: true; false on a generic action. */
TMXACT_API bool TmxAct_GetActionClass(TmxHandle handle, uint32_t* classId);

/* Tells the action's name; it belongs to the catalogue. Returns: true; false on a generic
 * action. */
TMXACT_API bool TmxAct_GetActionNameA(TmxHandle handle, const char** name);
TMXACT_API bool TmxAct_GetActionNameW(TmxHandle handle, const TmxWChar** name);

/* Tells the action's current plain name (ANSI or wide); it belongs to the catalogue.
 * Returns: true; false on a generic action. */
TMXACT_API bool TmxAct_GetActionPlainNameA(TmxHandle handle, const char** name);
TMXACT_API bool TmxAct_GetActionPlainNameW(TmxHandle handle, const TmxWChar** name);

/* ---- Text form ------------------------------------------------------------------------------ */

/* Writes a message as text.
 * buffer: room for size characters; may be null where size is 0.
 * size: characters, taken as a signed number.
 * display: false for the machine form, which the Create functions read; true for the display form,
 *     one way, for people.
 * utf8: narrow text is UTF-8 instead of the ANSI code page.
 * written: out, may be null: the characters that the whole text takes, terminating zero included,
 *     also where the buffer was too small. 0 for a generic action, which has no text.
 * Returns: true; false if the buffer is too small ("buffer too small"; the buffer may hold a part
 * of the text, without a zero), or if a date-time has no calendar date. */
TMXACT_API bool TmxAct_StoreToTextBufferA(TmxHandle handle, char* buffer, uint32_t size,
                                          bool display, bool utf8, uint32_t* written);
TMXACT_API bool TmxAct_StoreToTextBufferW(TmxHandle handle, TmxWChar* buffer, uint32_t size,
                                          bool display, bool utf8, uint32_t* written);

/* Makes a message from the machine form of its text.
 * text: must be zero-terminated even where a length is given.
 * length: characters; from TMX_MEASURE_LENGTH up the text is measured.
 * messageClass: TMX_MESSAGE_CLASS_ACTION, TMX_MESSAGE_CLASS_MATCH_ACTION or TMX_ANY_MESSAGE_CLASS.
 * utf8: the code page of narrow text (and of the narrow parameters in wide text).
 * consumed: out, may be null. With a handle: the characters used, so that the next message begins
 *     there. After an unknown name or a message of another class: the characters up to the end of
 *     the name. After a syntax error: the characters that were left at the error (the place is
 *     length minus that). Unchanged where an exception was recorded. An error with exactly nothing
 *     left is seen only at the next step, or not at all: it tells -1, as a signed number, less the
 *     white space skipped in between; a text that ends just where its closing parenthesis is due is
 *     taken, and an empty or blank text gives null, both with consumed = length + 1.
 * Returns: a new handle that the caller closes, or null. A syntax error or an unknown name is no
 *     recorded failure; a bad GUID or date-time is, and a text for which memory runs out. */
TMXACT_API TmxHandle TmxAct_CreateFromTextBufferA(const char* text, uint32_t length,
                                                  uint32_t messageClass, bool utf8,
                                                  uint32_t* consumed);
TMXACT_API TmxHandle TmxAct_CreateFromTextBufferW(const TmxWChar* text, uint32_t length,
                                                  uint32_t messageClass, bool utf8,
                                                  uint32_t* consumed);

/* ---- Binary form ---------------------------------------------------------------------------- */

/* Writes a message as bytes, its properties included.
 * buffer: room for size bytes; may be null where size is 0.
 * size: bytes, taken as a signed number.
 * needed: out, may be null: the bytes that the whole message takes, also where the buffer was too
 *     small.
 * Returns: true; false if the buffer is too small ("buffer too small"; what the buffer then holds
 *     is of no use). */
TMXACT_API bool TmxAct_StoreToBinBuffer(TmxHandle handle, uint8_t* buffer, uint32_t size,
                                        uint32_t* needed);

/* Makes a message from its bytes.
 * size: bytes that may be read.
 * messageClass: TMX_MESSAGE_CLASS_ACTION, TMX_MESSAGE_CLASS_MATCH_ACTION or TMX_ANY_MESSAGE_CLASS.
 * used: out, may be null. With a handle: the bytes used, so that the next message begins there.
 *     After an unknown code, or a message of a class that wasn't asked for: 8. After a class that
 *     doesn't exist, or a read that failed: the bytes that were left there. A failure with exactly
 *     nothing left is seen only at the next read, or not at all: it tells -1, as a signed number;
 *     bytes that end just before a last field of fixed size, or inside the properties at such a
 *     place, give the object, and bytes that end behind the class, or behind a header of a class
 *     that doesn't exist, give null, all with used = size + 1.
 * Returns: a new handle that the caller closes, or null. Bytes that can't be read are no recorded
 *     failure; a text for which memory runs out is. */
TMXACT_API TmxHandle TmxAct_CreateFromBinBuffer(const uint8_t* buffer, int32_t size,
                                                uint32_t messageClass, uint32_t* used);

/* ---- Templates: match actions --------------------------------------------------------------- */
/*
 * A match action is the template of one action. It has the action's parameters, each either set to
 * a value or open, and a description. It is made from an action (below) or from text or bytes (the
 * CreateFrom functions), and stored, cloned, compared and closed like an action. Its text:
 * "@ CameraOn (Comment: "at night", Camera: 5)". The functions that begin with TmxMatchAct_ take a
 * match action as their first handle; which kind a handle is isn't tested.
 */

/* Makes the template of an action in which all is set that the action has: its required parameters
 * and the optional ones that are present. It has no description.
 * matchAction: out, a new handle that the caller closes; null for a generic action, which has no
 *     template, and where there is no memory for the object.
 * Returns: true; false if a text could not be copied. */
TMXACT_API bool TmxAct_CreateMatchActionFromTemplate(TmxHandle handle, TmxHandle* matchAction);

/* Makes an action of the template's code. A set parameter gives its value. One that is open gets
 *  - without a source: the zero of its type, a date-time the time of the template's making; an
 *    optional one is absent;
 *  - from a source of the same code: what the source has there, absence included;
 *  - from any other source: by the role that its kind names, what the routing functions tell of the
 *    source (video input, viewer, contacts, foreign key), and for every required number the
 *    source's generic number; the empty value where the source has no such role; an optional one is
 *    absent. A source CustomAction gives its number for the foreign key.
 * source: an action, or null. Neither object is changed.
 * action: out, a new handle that the caller closes; null where there is no memory for the object.
 * Returns: true; false if a text could not be copied. */
TMXACT_API bool TmxMatchAct_CreateActionFromTemplate(TmxHandle handle, TmxHandle source,
                                                     TmxHandle* action);

/* Tests an action against a template: matching is an action of the template's code with which all
 * set parameters agree. References agree by the component that the template gives: id (or GUID),
 * else number, else name. Texts agree without regard to case, date-times by their instant. An
 * absent optional parameter counts as the zero of its type. Nothing is allocated.
 * Returns: true, and the answer goes to matches; false if the system can't compare two texts. */
TMXACT_API bool TmxMatchAct_Matches(TmxHandle handle, TmxHandle action, bool* matches);

/* Sets the description, which may be empty; null takes it away. The narrow text is in the ANSI code
 * page. Returns: true; false if memory runs out or the text can't be converted, with nothing
 * changed. */
TMXACT_API bool TmxMatchAct_SetDescriptionW(TmxHandle handle, const TmxWChar* text);
TMXACT_API bool TmxMatchAct_SetDescriptionA(TmxHandle handle, const char* text);

/* Tells the description; the empty text if there is none.
 * text: out, stays until the next description call on the object, or until the object ends. The
 *     narrow one (ANSI code page) is made with each call: not for two threads at a time.
 * Returns: true; false if memory runs out or the text can't be converted. */
TMXACT_API bool TmxMatchAct_GetDescriptionW(TmxHandle handle, const TmxWChar** text);
TMXACT_API bool TmxMatchAct_GetDescriptionA(TmxHandle handle, const char** text);

/* Tells whether there is a description, be it empty. Returns: true. */
TMXACT_API bool TmxMatchAct_HasDescription(TmxHandle handle, bool* has);

/* What a template tells of its action, as the functions of the same names for actions do: its code,
 * its class, its name, its current plain name. Texts belong to the catalogue. All return true. */
TMXACT_API bool TmxMatchAct_GetActionCode(TmxHandle handle, uint32_t* code);
TMXACT_API bool TmxMatchAct_GetActionClass(TmxHandle handle, uint32_t* classId);
TMXACT_API bool TmxMatchAct_GetActionNameA(TmxHandle handle, const char** name);
TMXACT_API bool TmxMatchAct_GetActionNameW(TmxHandle handle, const TmxWChar** name);
TMXACT_API bool TmxMatchAct_GetActionPlainNameA(TmxHandle handle, const char** name);
TMXACT_API bool TmxMatchAct_GetActionPlainNameW(TmxHandle handle, const TmxWChar** name);

/* ---- Generic action ------------------------------------------------------------------------- */

/* Makes an action without a catalogue entry that carries routing values alone. It has no name, no
 * text and no parameters in bytes, and equals nothing.
 * videoInput to outputContact: may be null, which leaves the reference empty.
 * Returns: a new handle that the caller closes; null without a recorded failure where there is no
 *     memory for the object, null with one where there is none for a name. */
TMXACT_API TmxHandle TmxAct_CreateGenericAction(const TmxObjectRef* videoInput,
                                                const TmxObjectRef* videoOutput,
                                                const TmxObjectRef* inputContact,
                                                const TmxObjectRef* outputContact,
                                                int32_t genericInt32);

/* Tells the one number that an action offers for routing: of a generic action the number given at
 * its making, else the first required parameter of type Int32, else 0. Actions only.
 * Returns: true. */
TMXACT_API bool TmxAct_GetGenericInt32Parameter(TmxHandle handle, int32_t* value);

/* ---- Routing; actions only ------------------------------------------------------------------ */
/*
 * Each gives the parameter that plays the role, or null where the action has none or where it is an
 * absent optional parameter. The pointer leads into the object: what is written to the id or the
 * number shows in the object at once. All return true.
 */

/* The video channel or camera (of a sensor audio alarm: the audio channel). */
TMXACT_API bool TmxAct_GetVideoInput(TmxHandle handle, TmxObjectRef** reference);
/* The viewer. */
TMXACT_API bool TmxAct_GetVideoOutput(TmxHandle handle, TmxObjectRef** reference);
/* The input contact. */
TMXACT_API bool TmxAct_GetInputContact(TmxHandle handle, TmxObjectRef** reference);
/* The output contact. */
TMXACT_API bool TmxAct_GetOutputContact(TmxHandle handle, TmxObjectRef** reference);
/* The foreign key. */
TMXACT_API bool TmxAct_GetForeignKey(TmxHandle handle, int64_t** key);

/* ---- Properties; actions only --------------------------------------------------------------- */
/*
 * Named texts beside the parameters. They travel in the binary form and in no other. A null name
 * counts as the empty name.
 */

/* Sets a property; a null value removes it (removing what isn't there is no error).
 * Returns: true; false where memory runs out, with nothing changed. */
TMXACT_API bool TmxAct_SetProperty(TmxHandle handle, const TmxWChar* name, const TmxWChar* value);

/* Tells a property's value; the empty text if there is none.
 * value: out, stays until the property is changed or removed, or the object ends.
 * Returns: true. */
TMXACT_API bool TmxAct_GetProperty(TmxHandle handle, const TmxWChar* name, const TmxWChar** value);

/* Tells all properties as an XML-like text.
 * text: out, stays until the next call on the object, or until the object ends.
 * Returns: true; false where memory runs out. */
TMXACT_API bool TmxAct_GetProperties(TmxHandle handle, const TmxWChar** text);

/* ---- Event records -------------------------------------------------------------------------- */
/*
 * An event record has a fixed set of typed fields, whatever the action: four 32-bit and four 64-bit
 * integers, two doubles, two date-times, two texts. Parameters take them in catalogue order: a
 * number, an enumeration value or a bool a 32-bit field; a 64-bit integer or a rectangle a 64-bit
 * one, a GUID two; a double, a date-time or a text one of its kind; a reference its id (or GUID), a
 * number where it has one, and its name. From the fifth on 32-bit values go into the 64-bit fields
 * that are left. An absent optional parameter passes its fields over, so that a field's meaning
 * hangs on its place alone. Data sets are not represented, nor is User2 of the actions that have
 * it.
 */

/* Spreads an action over an event record.
 * record: size must be set. All fields are filled or cleared, the binary ones cleared in any case;
 *     untouched stays. What the record points at lies in the object and stays while that lives
 *     unchanged, but for 32-bit values in 64-bit fields and narrow texts: they lie in room of the
 *     calling thread's own, and stay until the thread fills its next record, or ends.
 * complete: out, false where the fields alone can't give the action back: a value found no field
 *     left, the action has a User2, or it has the property "store-properties". The caller then
 *     stores the action with TmxAct_StoreToBinBuffer and puts buffer and size into the record.
 * With TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA references pass their id and, where they have a number,
 * their name over. A generic action leaves record and complete as they are.
 * Returns: true; false where the size is wrong ("Wrong structure size", nothing is touched), and
 * where memory runs out for a value in the thread's own room or a narrow text can't be converted
 * (the record is then of no use). */
TMXACT_API bool TmxAct_GetActionEventData(TmxHandle handle, TmxEventDataRecord* record,
                                          bool* complete);

/* The same for a match action: a parameter that is open passes its fields over as an absent one
 * does. The description isn't represented. */
TMXACT_API bool TmxMatchAct_GetActionEventData(TmxHandle handle, TmxEventDataRecord* record,
                                               bool* complete);

/* Makes an action from an event record: from the stored action, where binarySize and binary are not
 * zero and the bytes can be read, else from the fields. From the fields a parameter without a value
 * is absent, or of the zero of its type where it is required (a date-time is then the present); a
 * reference without a name counts as one without a value, so that a record of the compact form
 * gives empty references. Fields whose values together take more than 240 bytes (see
 * TmxMatchAct_RestoreActionFromEventData) give an action that has lost most of them: store such
 * actions as bytes.
 * record: size is not looked at. Texts need no terminator.
 * Returns: a new handle that the caller closes; null without a recorded failure where the fields
 * are of an unknown code, or where there is no memory for an object; null with one where memory
 * runs out for a text or a text can't be converted. */
TMXACT_API TmxHandle TmxAct_RestoreActionFromEventData(const TmxEventDataRecord* record);

/* The same for a match action. From a stored action it is the one that
 * TmxAct_CreateMatchActionFromTemplate makes of it. From the fields a parameter without a value is
 * open. The fields are put together in the binary form of a match action, in 240 bytes; where these
 * don't suffice, once more in as many as are wanted (65535 at the most, else the answer is null),
 * but from the fields that are left, so that most parameters come out open. */
TMXACT_API TmxHandle TmxMatchAct_RestoreActionFromEventData(const TmxEventDataRecord* record);

/* Describes an event record for people.
 * record: size is not looked at. The values are those of the stored action, where binarySize and
 *     binary are not zero and the bytes can be read, else of the fields. Parameters and names are
 *     those of the action of the record's code; a record of code 0 or of an unknown code shows the
 *     fields of TmxAct_EnumerateEventFields. The plain names are those that the native-translation
 *     flag selects.
 * callback: called with context, an index from 0, the plain name and the text of each value that is
 *     there; at last with TMX_EVENT_DESCRIPTION_INDEX, the action's plain name and the whole line:
 *     "CameraOn; Camera: Gate (3)" (from a stored action "CameraOn; Camera: 3 - Gate"). An unknown
 *     code stands in the line behind the name, in parentheses. A callback in C++ may throw; the
 *     call then ends with a recorded failure.
 * context: handed on as it is.
 * complete: out, true.
 * Returns: true; false ("buffer too small") where a stored action takes more room than twice its
 *     bytes, or than 10000 bytes, as a match action; false where a date-time has no calendar date,
 *     where a text can't be converted, and where memory runs out. Callbacks may have run before. */
TMXACT_API bool TmxAct_GetActionEventDescription(const TmxEventDataRecord* record, void* context,
                                                 TmxEventDescriptionCallback callback,
                                                 bool* complete);

/* Completes the references of an action: hands each to the function of its role, and takes over
 * what that writes. In this order, as far as the action has them: a parameter set of a channel
 * together with the channel (an unset id of which is first looked for with resolveVideoInput, on a
 * copy); the video input, the video output, the input and the output contact; the event type or
 * resource; the schedule, destination or time range. Nothing is done for an action with
 * TMX_MESSAGE_FLAG_COMPLETE, nor where version is 0 or above 100.
 * context: handed on as it is.
 * ok: out, false where a function returned false, but for the search on the copy.
 * Returns: true; false where memory runs out for a name (ok is then untouched). */
TMXACT_API bool TmxAct_UpdateActionInfo(TmxHandle handle, void* context,
                                        const TmxActionInfoCallbacks* callbacks, bool* ok);

/* Tells the client of an action that has the parameters ClientHost, ClientType and ClientAccount.
 * host, type, account: out, pointers into the object that live as long as the object and the
 *     parameter; null where the parameter is absent.
 * Returns: true; false without a recorded failure, and with all out arguments untouched, where the
 * action has no such parameters. */
TMXACT_API bool TmxAct_GetWindowsClientInfo(TmxHandle handle, const TmxWChar** host,
                                            const int32_t** type, const TmxWChar** account);

/* Sets the client of such an action. A null text and a type of 0 leave their parameter as it is, so
 * that nothing can be cleared.
 * Returns: true; false without a recorded failure where the action has no such parameters; false
 * with one where memory runs out for a text. */
TMXACT_API bool TmxAct_UpdateWindowsClientInfo(TmxHandle handle, const TmxWChar* host, int32_t type,
                                               const TmxWChar* account);

/* Does nothing. Returns: true. */
TMXACT_API bool TmxAct_UpdateActionSource(void);

/* Does nothing, and leaves the thread's last error as it is: it is not framed. Returns: false. */
TMXACT_API bool TmxAct_UpdateTimeRangeChanged(void);

#ifdef __cplusplus
}
#endif

#endif
