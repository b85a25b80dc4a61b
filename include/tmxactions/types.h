/*
 * TmxActions: the types that cross the interface.
 *
 * Plain C (C99 and later) and C++. What holds for every record and every function:
 *
 *  - Wide text is UTF-16 in 16-bit units, zero-terminated (TmxWChar). Narrow text is
 * zero-terminated and in the ANSI code page (windows-1252 where the system has none), unless a
 * field or an argument says UTF-8.
 *  - A handle that a Create, Clone or CreateFrom function returns owns one reference and is given
 *    back with TmxAct_CloseHandle. Every text or record pointer that a Get or Decode function hands
 *    out belongs to the object (or to the catalogue) and lives as long as that. The caller frees
 *    nothing else.
 *  - Texts and records lie at addresses that their types ask for (wide text at even ones).
 *  - Handles and out pointers are not tested: a null, stale or foreign one is undefined behaviour,
 *    unless a function says that it may be null.
 *  - Nothing throws across this boundary. A function returns false, a null handle or zero on
 *    failure, and TmxAct_GetLastError tells the calling thread what happened.
 *  - Any thread may call any function. One object is used by one thread at a time, but for
 *    concurrent reading; reference counts and the count of open handles are atomic.
 *
 * The layouts below are binding; the assertions at the end hold them on 64-bit systems.
 */
#ifndef TMXACTIONS_TYPES_H
#define TMXACTIONS_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32
#ifdef TMXACTIONS_BUILDING
#define TMXACT_API __declspec(dllexport)
#else
#define TMXACT_API __declspec(dllimport)
#endif
#else
#define TMXACT_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One 16-bit unit of wide text: wchar_t on Windows, char16_t elsewhere. */
#ifdef _WIN32
#ifndef __cplusplus
#include <wchar.h>
#endif
typedef wchar_t TmxWChar;
#elif defined(__cplusplus)
typedef char16_t TmxWChar;
#else
typedef uint_least16_t TmxWChar;
#endif

/* A live message object (an action or a match action), known to the caller by its address alone. */
typedef struct TmxMessage TmxMessage;
typedef TmxMessage* TmxHandle;

/* "None" in every code and class field; the wildcard of enumeration queries and class filters. */
#define TMX_NONE 0x7fffffffu
/* Filter of the CreateFrom functions: actions and match actions alike. */
#define TMX_ANY_MESSAGE_CLASS 0x7fffffffu
/* Message classes, see TmxAct_GetMessageClass. */
#define TMX_MESSAGE_CLASS_ACTION 1u
#define TMX_MESSAGE_CLASS_MATCH_ACTION 2u
/* The action code of every generic action. */
#define TMX_GENERIC_ACTION_CODE 0x7ffffffeu
/* A length from here up makes the CreateFromText functions measure the zero-terminated text. */
#define TMX_MEASURE_LENGTH 0x7fffffffu
/* Bits of the message flags; the other bits are the caller's. Bit 0 says that the references of an
 * action are complete, bit 1 that it goes into event records in the compact form. */
#define TMX_MESSAGE_FLAG_COMPLETE 1u
#define TMX_MESSAGE_FLAG_COMPACT_EVENT_DATA 2u
/* The marker of the property block at the end of a stored action. */
#define TMX_PROPERTY_BLOCK_MARKER 0xF00Fu

/* The numbers in TmxErrorInfo::code. */
enum TmxErrorCode {
    TmxErrorCode_Other = 0,     /* standard-library failure, bad GUID text, bad format string */
    TmxErrorCode_System = 2,    /* a failed system call; subcode is the system's number */
    TmxErrorCode_DateTime = 5,  /* subcode is a TmxDateTimeError */
    TmxErrorCode_Actions = 1008 /* subcode is a TmxActionsError */
};
/* code of a failure of unknown kind. */
#define TMX_ERROR_CODE_UNKNOWN 0xffffffffu

/* subcode where code is TmxErrorCode_Actions. */
enum TmxActionsError {
    TmxActionsError_WrongDecodeMethod = 3, /* "Wrong decode method" */
    TmxActionsError_BufferTooSmall = 7,    /* "buffer too small" */
    TmxActionsError_WrongStructureSize = 8 /* "Wrong structure size" */
};

/* subcode where code is TmxErrorCode_DateTime. */
enum TmxDateTimeError {
    TmxDateTimeError_ZoneRule = 1,
    TmxDateTimeError_Year = 3,
    TmxDateTimeError_Month = 4,
    TmxDateTimeError_Day = 5,
    TmxDateTimeError_Hour = 6,
    TmxDateTimeError_Minute = 7,
    TmxDateTimeError_Second = 8,
    TmxDateTimeError_Millisecond = 9,
    TmxDateTimeError_ExpectedCharacter = 10,
    TmxDateTimeError_ExpectedZone = 11,
    TmxDateTimeError_ExpectedEnd = 12,
    TmxDateTimeError_Range = 13
};

/* Filled by TmxAct_GetLastError. The texts live in the calling thread's own record: they stay until
 * the thread's next failing call, or until the thread ends. */
typedef struct TmxErrorInfo {
    uint32_t code;
    uint32_t subcode;
    const char* exceptionClass;
    const char* message;
    const TmxWChar* messageW;
    const char* details;
} TmxErrorInfo;

/* A GUID in memory order: Data1 to Data3 little-endian, Data4 as it stands. */
typedef struct TmxGuid {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} TmxGuid;

/* An instant with the zone in which it was taken. Bits 0 to 47: UTC milliseconds since
 * 1601-01-01 00:00:00, unsigned. Bits 48 to 63: the zone's bias in minutes, signed,
 * UTC = local time + bias (central Europe in winter is -60). */
typedef struct TmxDateTime {
    uint64_t value;
} TmxDateTime;

/* Four signed 16-bit integers, in their order of storage. */
typedef struct TmxRect {
    int16_t words[4];
} TmxRect;

/* A system object known by an id, by a number or by a name; also a type or resource known by id or
 * name (parameters of the type NamedId, which keep number but never look at it). */
typedef struct TmxObjectRef {
    int64_t id;           /* global identifier, 0 if not set */
    const TmxWChar* name; /* null on input reads as empty; never null on output */
    int32_t number;       /* local number, 0 if not set */
    int32_t padding;      /* not looked at */
} TmxObjectRef;

/* A set or destination known by a GUID and a name. */
typedef struct TmxGuidRef {
    TmxGuid guid;         /* all zero if not set */
    const TmxWChar* name; /* null on input reads as empty; never null on output */
    uint64_t reserved;    /* copied along, read by nothing */
} TmxGuidRef;

/* One entry of a data set. */
typedef struct TmxDataSetEntry {
    int16_t words[4];
    int32_t number;
    int32_t padding;      /* not looked at */
    const TmxWChar* name; /* null on input reads as empty; never null on output */
} TmxDataSetEntry;

/* A list of entries; items may be null where count is 0. */
typedef struct TmxDataSet {
    const TmxDataSetEntry* items;
    uint64_t count;
} TmxDataSet;

/* The catalogue's facts of one action. A plain text reads from the set that the
 * native-translation flag selects; until one is set it equals the name. */
typedef struct TmxActionInfo {
    uint32_t classId;
    uint32_t code;
    uint32_t reserved; /* 0 */
    uint32_t parameterCount;
    const char* name;
    const TmxWChar* nameW;
    const char* plainName;   /* ANSI */
    const char* plainNameU8; /* UTF-8 */
    const TmxWChar* plainNameW;
    const char* description;   /* ANSI */
    const char* descriptionU8; /* UTF-8 */
    const TmxWChar* descriptionW;
} TmxActionInfo;

/* The catalogue's facts of one parameter (also of one event field, and of the description). */
typedef struct TmxParameterInfo {
    uint32_t type;  /* TmxParamType; 10 to 99 is the id of an enumeration */
    uint32_t kind;  /* TmxParamKind */
    uint32_t extra; /* passed through; 0 in all but a few parameters */
    uint32_t count; /* left as it was, but for TmxAct_GetEventDescriptionInfo */
    const char* name;
    const TmxWChar* nameW;
    const char* plainName;   /* ANSI */
    const char* plainNameU8; /* UTF-8 */
    const TmxWChar* plainNameW;
    const char* description;   /* ANSI */
    const char* descriptionU8; /* UTF-8 */
    const TmxWChar* descriptionW;
} TmxParameterInfo;

/* The catalogue's facts of one action class. */
typedef struct TmxActionClassInfo {
    uint32_t classId;
    uint32_t padding; /* left untouched */
    const char* name;
    const TmxWChar* nameW;
    uint64_t reserved;       /* left untouched */
    const char* plainName;   /* ANSI */
    const char* plainNameU8; /* UTF-8 */
    const TmxWChar* plainNameW;
    const char* description;   /* ANSI */
    const char* descriptionU8; /* UTF-8 */
    const TmxWChar* descriptionW;
} TmxActionClassInfo;

/* The catalogue's facts of one enumeration value. It has no description. */
typedef struct TmxEnumValueInfo {
    uint32_t enumId;
    uint32_t value;
    const char* name;
    const TmxWChar* nameW;
    const char* plainName;   /* ANSI */
    const char* plainNameU8; /* UTF-8 */
    const TmxWChar* plainNameW;
    uint64_t reserved; /* left untouched */
} TmxEnumValueInfo;

/* One text of an event record. */
typedef struct TmxEventText {
    uint64_t length;      /* in 16-bit units, without a terminator; 0 where text is null */
    const TmxWChar* text; /* null: the field has no value */
} TmxEventText;

/* An action (or a match action) spread over the generic columns of an event, see
 * TmxAct_GetActionEventData. The fields are those of TmxAct_EnumerateEventFields. A null pointer is
 * a field without a value. The record owns nothing. */
typedef struct TmxEventDataRecord {
    uint32_t size;                    /* set by the caller: sizeof(TmxEventDataRecord) */
    uint32_t code;                    /* TmxActionCode; 0 in a record without an action */
    uint64_t reserved[2];             /* cleared by filling, read by nothing */
    uint64_t untouched;               /* neither cleared nor read */
    const int32_t* int32Fields[4];    /* Int32FieldA to D */
    const int64_t* int64Fields[4];    /* Int64FieldA to D */
    const double* doubleFields[2];    /* DoubleFieldA and B */
    const TmxDateTime* dateFields[2]; /* DateFieldA and B */
    TmxEventText textFields[2];       /* StringFieldA and B */
    uint64_t binarySize;              /* bytes; the low 32 bits count, but 0 in all 64 is none */
    const uint8_t* binary;            /* the action as TmxAct_StoreToBinBuffer writes it, or null */
} TmxEventDataRecord;

/* Takes one value of a described event record, see TmxAct_GetActionEventDescription. The texts live
 * until it returns. */
typedef void (*TmxEventDescriptionCallback)(void* context, uint32_t index, const TmxWChar* name,
                                            const TmxWChar* value);
/* The index of the last call, which brings the whole description. */
#define TMX_EVENT_DESCRIPTION_INDEX 0xffffffffu

/* What completes the references of an action, see TmxAct_UpdateActionInfo. The walk reads version
 * anew before each of its stages: a function that sets it to 0 ends the walk there. A function
 * returns true where it has handled the reference. It may change the id (or the GUID) and the
 * number, and may point name at a text of its own, which needs to live until it returns: the text
 * is then copied, null as the empty text. Where it returns false the name stays what it was. No
 * function may be null. */
typedef struct TmxActionInfoCallbacks {
    uint32_t version; /* 1 to 100 */
    bool (*resolveVideoInput)(void* context, TmxObjectRef* reference);
    bool (*resolveVideoOutput)(void* context, TmxObjectRef* reference);
    bool (*resolveInputContact)(void* context, TmxObjectRef* reference);
    bool (*resolveOutputContact)(void* context, TmxObjectRef* reference);
    bool (*resolveNamedId)(void* context, TmxObjectRef* reference);
    bool (*resolveGuidReference)(void* context, uint32_t kind, TmxGuidRef* reference);
    bool (*resolveChannelGuidReference)(void* context, uint32_t kind, TmxGuidRef* reference,
                                        TmxObjectRef* channel);
} TmxActionInfoCallbacks;

#if defined(__cplusplus)
#define TMX_LAYOUT(condition, name) static_assert(condition, #name)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define TMX_LAYOUT(condition, name) _Static_assert(condition, #name)
#else
#define TMX_LAYOUT(condition, name) typedef char tmx_layout_##name[(condition) ? 1 : -1]
#endif

TMX_LAYOUT(sizeof(void*) == 8, pointers_have_8_bytes);
TMX_LAYOUT(sizeof(bool) == 1, bool_has_1_byte);
TMX_LAYOUT(sizeof(TmxWChar) == 2, wide_character_has_2_bytes);
TMX_LAYOUT(sizeof(TmxGuid) == 16, guid_size);
TMX_LAYOUT(sizeof(TmxDateTime) == 8, date_time_size);
TMX_LAYOUT(sizeof(TmxRect) == 8, rect_size);
TMX_LAYOUT(sizeof(TmxErrorInfo) == 40, error_info_size);
TMX_LAYOUT(offsetof(TmxErrorInfo, subcode) == 4, error_info_subcode);
TMX_LAYOUT(offsetof(TmxErrorInfo, exceptionClass) == 8, error_info_exception_class);
TMX_LAYOUT(offsetof(TmxErrorInfo, message) == 16, error_info_message);
TMX_LAYOUT(offsetof(TmxErrorInfo, messageW) == 24, error_info_message_w);
TMX_LAYOUT(offsetof(TmxErrorInfo, details) == 32, error_info_details);
TMX_LAYOUT(sizeof(TmxObjectRef) == 24, object_ref_size);
TMX_LAYOUT(offsetof(TmxObjectRef, name) == 8, object_ref_name);
TMX_LAYOUT(offsetof(TmxObjectRef, number) == 16, object_ref_number);
TMX_LAYOUT(sizeof(TmxGuidRef) == 32, guid_ref_size);
TMX_LAYOUT(offsetof(TmxGuidRef, name) == 16, guid_ref_name);
TMX_LAYOUT(offsetof(TmxGuidRef, reserved) == 24, guid_ref_reserved);
TMX_LAYOUT(sizeof(TmxDataSetEntry) == 24, data_set_entry_size);
TMX_LAYOUT(offsetof(TmxDataSetEntry, number) == 8, data_set_entry_number);
TMX_LAYOUT(offsetof(TmxDataSetEntry, name) == 16, data_set_entry_name);
TMX_LAYOUT(sizeof(TmxDataSet) == 16, data_set_size);
TMX_LAYOUT(offsetof(TmxDataSet, count) == 8, data_set_count);
TMX_LAYOUT(sizeof(TmxActionInfo) == 80, action_info_size);
TMX_LAYOUT(offsetof(TmxActionInfo, parameterCount) == 12, action_info_parameter_count);
TMX_LAYOUT(offsetof(TmxActionInfo, name) == 16, action_info_name);
TMX_LAYOUT(offsetof(TmxActionInfo, nameW) == 24, action_info_name_w);
TMX_LAYOUT(offsetof(TmxActionInfo, plainName) == 32, action_info_plain_name);
TMX_LAYOUT(offsetof(TmxActionInfo, plainNameU8) == 40, action_info_plain_name_u8);
TMX_LAYOUT(offsetof(TmxActionInfo, plainNameW) == 48, action_info_plain_name_w);
TMX_LAYOUT(offsetof(TmxActionInfo, description) == 56, action_info_description);
TMX_LAYOUT(offsetof(TmxActionInfo, descriptionU8) == 64, action_info_description_u8);
TMX_LAYOUT(offsetof(TmxActionInfo, descriptionW) == 72, action_info_description_w);
TMX_LAYOUT(sizeof(TmxParameterInfo) == 80, parameter_info_size);
TMX_LAYOUT(offsetof(TmxParameterInfo, count) == 12, parameter_info_count);
TMX_LAYOUT(offsetof(TmxParameterInfo, name) == 16, parameter_info_name);
TMX_LAYOUT(offsetof(TmxParameterInfo, descriptionW) == 72, parameter_info_description_w);
TMX_LAYOUT(sizeof(TmxActionClassInfo) == 80, action_class_info_size);
TMX_LAYOUT(offsetof(TmxActionClassInfo, name) == 8, action_class_info_name);
TMX_LAYOUT(offsetof(TmxActionClassInfo, nameW) == 16, action_class_info_name_w);
TMX_LAYOUT(offsetof(TmxActionClassInfo, reserved) == 24, action_class_info_reserved);
TMX_LAYOUT(offsetof(TmxActionClassInfo, plainName) == 32, action_class_info_plain_name);
TMX_LAYOUT(offsetof(TmxActionClassInfo, descriptionW) == 72, action_class_info_description_w);
TMX_LAYOUT(sizeof(TmxEnumValueInfo) == 56, enum_value_info_size);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, name) == 8, enum_value_info_name);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, nameW) == 16, enum_value_info_name_w);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, plainName) == 24, enum_value_info_plain_name);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, plainNameU8) == 32, enum_value_info_plain_name_u8);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, plainNameW) == 40, enum_value_info_plain_name_w);
TMX_LAYOUT(offsetof(TmxEnumValueInfo, reserved) == 48, enum_value_info_reserved);
TMX_LAYOUT(sizeof(TmxEventText) == 16, event_text_size);
TMX_LAYOUT(offsetof(TmxEventText, text) == 8, event_text_text);
TMX_LAYOUT(sizeof(TmxEventDataRecord) == 176, event_data_record_size);
TMX_LAYOUT(offsetof(TmxEventDataRecord, size) == 0, event_data_record_size_field);
TMX_LAYOUT(offsetof(TmxEventDataRecord, code) == 4, event_data_record_code);
TMX_LAYOUT(offsetof(TmxEventDataRecord, reserved) == 8, event_data_record_reserved);
TMX_LAYOUT(offsetof(TmxEventDataRecord, untouched) == 24, event_data_record_untouched);
TMX_LAYOUT(offsetof(TmxEventDataRecord, int32Fields) == 32, event_data_record_int32_fields);
TMX_LAYOUT(offsetof(TmxEventDataRecord, int64Fields) == 64, event_data_record_int64_fields);
TMX_LAYOUT(offsetof(TmxEventDataRecord, doubleFields) == 96, event_data_record_double_fields);
TMX_LAYOUT(offsetof(TmxEventDataRecord, dateFields) == 112, event_data_record_date_fields);
TMX_LAYOUT(offsetof(TmxEventDataRecord, textFields) == 128, event_data_record_text_fields);
TMX_LAYOUT(offsetof(TmxEventDataRecord, binarySize) == 160, event_data_record_binary_size);
TMX_LAYOUT(offsetof(TmxEventDataRecord, binary) == 168, event_data_record_binary);
TMX_LAYOUT(sizeof(TmxActionInfoCallbacks) == 64, action_info_callbacks_size);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, version) == 0, action_info_callbacks_version);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveVideoInput) == 8,
           action_info_callbacks_video_input);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveVideoOutput) == 16,
           action_info_callbacks_video_output);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveInputContact) == 24,
           action_info_callbacks_input_contact);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveOutputContact) == 32,
           action_info_callbacks_output_contact);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveNamedId) == 40, action_info_callbacks_named_id);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveGuidReference) == 48,
           action_info_callbacks_guid_reference);
TMX_LAYOUT(offsetof(TmxActionInfoCallbacks, resolveChannelGuidReference) == 56,
           action_info_callbacks_channel_guid_reference);

#ifdef __cplusplus
}
#endif

#endif
