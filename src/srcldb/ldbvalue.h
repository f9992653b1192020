// PDMc_LDBValue: the small variant that every attribute holds. The kind says which of the
// payloads is live; a string is owned, an object is a reference that owns nothing.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbref.h"

class PDMc_LDBValue {
public:
    enum Kind : int32_t {
        kNone = 0,
        kInteger = 1,
        kDouble = 2,
        kBoolean = 3,
        kString = 4,
        kDateTime = 5,
        kObject = 8,
    };

    PDMc_LDBValue() : m_kind(kNone) { m_scalar.integer = 0; }
    PDMc_LDBValue(const PDMc_LDBValue& other);
    PDMc_LDBValue& operator=(const PDMc_LDBValue& other);

    int32_t GetKind() const { return m_kind; }
    int32_t GetInteger() const { return m_scalar.integer; }
    double GetDouble() const { return m_scalar.real; }
    bool GetBoolean() const { return m_scalar.boolean; }
    const nyxString& GetString() const { return m_string; }
    uint32_t GetDateTime() const { return m_scalar.date_time; }
    const PDMc_LDBRef& GetReference() const { return m_object; }
    // The target of an object value, loaded if need be; null for any other kind.
    PDMc_LDBObject* GetObject();

    void Clear();
    void SetInteger(int32_t value);
    void SetDouble(double value);
    void SetBoolean(bool value);
    void SetString(const char* value);
    void SetDateTime(uint32_t value);
    // Keeps the reference in the form it has, resolved or not.
    void SetReference(const PDMc_LDBRef& value);

    // Different kinds differ; doubles are equal unless one is less than the other.
    bool operator==(const PDMc_LDBValue& other) const;
    bool operator!=(const PDMc_LDBValue& other) const { return !(*this == other); }

private:
    int32_t m_kind;
    union {
        int32_t integer;
        double real;
        bool boolean;
        uint32_t date_time;
    } m_scalar;
    nyxString m_string;
    PDMc_LDBRef m_object;
};
