// The application attributes of a holder: a stored map from name to PDMc_LAAV behind the
// holder's m_attrs reference. Names are compared by bytes, so names that differ only in case
// are two attributes.
//
// The holder's reference stays null until the first attribute is set; setting it makes the map
// and marks the holder modified. After that a new name dirties only the map, a changed value
// only its value object, and an equal value nothing at all. A removed attribute leaves its value
// object unreferenced in the store, and the map stays when it is empty.
#pragma once

#include <cstdint>

#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbvalue.h"

class PDMc_LDBMap;

// The attribute map behind the reference, loaded if need be: null while the holder has none,
// or when it can't be loaded.
PDMc_LDBMap* LDBAttributeMap(PDMc_LDBRef& attrs);

// Copies the attribute's value into value; a holder without attributes or an absent name
// leaves value as it was. 0 or the code on the error stack.
int32_t LDBGetAttribute(PDMc_LDBRef& attrs, const char* name, PDMc_LDBValue& value);

// Writes the attribute of holder, whose attribute reference attrs is. A value of kind 0 removes
// the attribute. 0 or the code of a failure pushed.
int32_t LDBSetAttribute(PDMc_LDBObject* holder, PDMc_LDBRef& attrs, const char* name,
                        const PDMc_LDBValue& value);

// Takes the name out of the holder's map; an absent name or map is no error. 0 or the code on
// the error stack.
int32_t LDBRemoveAttribute(PDMc_LDBRef& attrs, const char* name);
