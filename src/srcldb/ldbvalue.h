// PDMc_LDBValue: the small variant that every attribute holds. The kind says which of the
// payloads is live; a string is owned, an object is a reference that owns nothing and is kept
// in whatever form it was given, resolved or not.
//
// Equality is what decides whether an attribute write changes anything: different kinds
// differ, two empty values are equal, strings compare by bytes, references by owner and
// address, and doubles are equal unless one is less than the other, so a NaN equals every
// double.
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

    PDMc_LDBValue() : m_kind(kNone) { m_scalar.real = 0; }
    explicit PDMc_LDBValue(int32_t value);
    explicit PDMc_LDBValue(double value);
    explicit PDMc_LDBValue(bool value);
    // Duplicates the text; null gives an empty string.
    explicit PDMc_LDBValue(const char* value);
    explicit PDMc_LDBValue(const nyxString& value);
    explicit PDMc_LDBValue(const PDMc_LDBRef& value);
    // A date and time shares its width with an integer, so it has a named maker.
    static PDMc_LDBValue FromDateTime(uint32_t value);

    PDMc_LDBValue(const PDMc_LDBValue& other);
    PDMc_LDBValue& operator=(const PDMc_LDBValue& other);

    int32_t GetKind() const { return m_kind; }
    int32_t GetInteger() const { return m_scalar.integer; }
    double GetDouble() const { return m_scalar.real; }
    bool GetBoolean() const { return m_scalar.boolean; }
    const nyxString& GetString() const { return m_string; }
    uint32_t GetDateTime() const { return m_scalar.date_time; }
    const PDMc_LDBRef& GetReference() const { return m_object; }
    // The target of an object value, loaded if need be; null for any other kind and for a
    // target that can't be loaded.
    PDMc_LDBObject* GetObject();

    // Back to kind 0, releasing a string.
    void Clear();
    void SetInteger(int32_t value);
    void SetDouble(double value);
    void SetBoolean(bool value);
    // Null gives an empty string.
    void SetString(const char* value);
    void SetDateTime(uint32_t value);
    void SetReference(const PDMc_LDBRef& value);

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
