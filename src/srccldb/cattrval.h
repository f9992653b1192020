// The attribute value as it crosses the exported interface: the 16-byte PDMAttrValue record
// that a client lays out, and its conversions to and from the PDMc_LDBValue inside.
//
// The record never owns anything. Coming in, a text is copied before the export returns.
// Going out, a text points either into a ring slot (keepString), which outlives changes to the
// attribute until the ring wraps, or straight at the stored text, which is good only until the
// attribute changes.
#pragma once

#include <cstdint>

#include "marrows/marrows.h"
#include "srcldb/ldbvalue.h"

// Which form of the record a conversion speaks. The item and dependency exports know kinds 0
// to 5; the generic-object exports add object handles as kind 6. Each form reports a broken
// internal rule under its own source path.
struct CAPIAttrVariant {
    bool objects;
    const char* sourcePath;
};

// The item model's form: no object values.
extern const CAPIAttrVariant kCAPIAttrItemVariant;
// The generic objects' form, with object handles. Its broken rules carry the source path
// "srccldb/cattrval_ws", the object-aware conversion's own.
extern const CAPIAttrVariant kCAPIAttrObjectVariant;

// Fills the record from the value: first its eight payload bytes with zeros, then kind and
// payload; the reserved bytes are left alone. A value of a kind the form doesn't know gives
// kind 0 and an internal error. An object value is loaded to give its handle. Gives
// nyxErrorCurrentCode().
int32_t CAPIAttrValueToC(PDMc_LDBValue& value, PDMAttrValue* record, bool keepString,
                         const CAPIAttrVariant& variant = kCAPIAttrItemVariant);

// Replaces the value by the record's content. A kind the form doesn't know clears the value
// and pushes error 1113 with the kind. A null text gives an empty string; an object handle
// gives a resolved reference, null included. Gives nyxErrorCurrentCode().
int32_t CAPIAttrValueFromC(const PDMAttrValue* record, PDMc_LDBValue& value,
                           const CAPIAttrVariant& variant = kCAPIAttrItemVariant);
