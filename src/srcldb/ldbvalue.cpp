#include "srcldb/ldbvalue.h"

PDMc_LDBValue::PDMc_LDBValue(int32_t value) : PDMc_LDBValue() { SetInteger(value); }

PDMc_LDBValue::PDMc_LDBValue(double value) : PDMc_LDBValue() { SetDouble(value); }

PDMc_LDBValue::PDMc_LDBValue(bool value) : PDMc_LDBValue() { SetBoolean(value); }

PDMc_LDBValue::PDMc_LDBValue(const char* value) : PDMc_LDBValue() { SetString(value); }

PDMc_LDBValue::PDMc_LDBValue(const nyxString& value) : PDMc_LDBValue() {
    SetString(value.c_str());
}

PDMc_LDBValue::PDMc_LDBValue(const PDMc_LDBRef& value) : PDMc_LDBValue() { SetReference(value); }

PDMc_LDBValue PDMc_LDBValue::FromDateTime(uint32_t value) {
    PDMc_LDBValue made;
    made.SetDateTime(value);
    return made;
}

PDMc_LDBValue::PDMc_LDBValue(const PDMc_LDBValue& other) : PDMc_LDBValue() { *this = other; }

PDMc_LDBValue& PDMc_LDBValue::operator=(const PDMc_LDBValue& other) {
    if (this == &other) return *this;
    Clear();
    m_kind = other.m_kind;
    m_scalar = other.m_scalar;
    if (m_kind == kString) m_string = other.m_string;
    if (m_kind == kObject) m_object = other.m_object;
    return *this;
}

PDMc_LDBObject* PDMc_LDBValue::GetObject() {
    return m_kind == kObject ? m_object.GetTarget() : nullptr;
}

void PDMc_LDBValue::Clear() {
    m_string.Clear();
    m_object = PDMc_LDBRef();
    m_scalar.real = 0;
    m_kind = kNone;
}

void PDMc_LDBValue::SetInteger(int32_t value) {
    Clear();
    m_kind = kInteger;
    m_scalar.integer = value;
}

void PDMc_LDBValue::SetDouble(double value) {
    Clear();
    m_kind = kDouble;
    m_scalar.real = value;
}

void PDMc_LDBValue::SetBoolean(bool value) {
    Clear();
    m_kind = kBoolean;
    m_scalar.boolean = value;
}

void PDMc_LDBValue::SetString(const char* value) {
    // The text may be our own: copy it before clearing.
    nyxString copy(value);
    Clear();
    m_kind = kString;
    m_string = static_cast<nyxString&&>(copy);
}

void PDMc_LDBValue::SetDateTime(uint32_t value) {
    Clear();
    m_kind = kDateTime;
    m_scalar.date_time = value;
}

void PDMc_LDBValue::SetReference(const PDMc_LDBRef& value) {
    PDMc_LDBRef copy = value;
    Clear();
    m_kind = kObject;
    m_object = copy;
}

bool PDMc_LDBValue::operator==(const PDMc_LDBValue& other) const {
    if (m_kind != other.m_kind) return false;
    switch (m_kind) {
        case kInteger: return m_scalar.integer == other.m_scalar.integer;
        case kDouble:
            return !(m_scalar.real < other.m_scalar.real) && !(other.m_scalar.real < m_scalar.real);
        case kBoolean: return m_scalar.boolean == other.m_scalar.boolean;
        case kString: return m_string == other.m_string;
        case kDateTime: return m_scalar.date_time == other.m_scalar.date_time;
        case kObject: return m_object == other.m_object;
        default: return true;
    }
}
