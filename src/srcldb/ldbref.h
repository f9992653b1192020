// PDMc_LDBRef: the persistent reference that every stored object uses to point at another.
//
// It has three forms, told apart by the key:
//   null        {key 0, no object}
//   unresolved  {key = the target's address, the owner that can load it}
//   resolved    {key 0, the target object}
// A reference to a new object is always resolved, since the object has no address yet. In a
// record a reference is just the 4-byte address (GetKey). A reference owns nothing.
#pragma once

#include <cstdint>

class LDBObjectOwner;
class PDMc_LDBObject;

class PDMc_LDBRef {
public:
    PDMc_LDBRef() : m_key(0) { m_target.object = nullptr; }
    // The resolved form; a null object gives the null form.
    PDMc_LDBRef(PDMc_LDBObject* object) : m_key(0) { m_target.object = object; }  // NOLINT

    // The stored address: the key, else the target's own address, 0 for null.
    uint32_t GetKey() const;
    // The connection the target belongs to, null for a null reference.
    LDBObjectOwner* GetOwner() const;
    // Address 0 gives the null form, any other the unresolved form.
    void Set(LDBObjectOwner* owner, uint32_t address);
    // Loads the target of an unresolved reference. On success the reference becomes resolved and
    // the target is the result; otherwise it stays as it was and the result is null.
    PDMc_LDBObject* Resolve();
    // The target, resolving first when needed. This is how code follows a reference.
    PDMc_LDBObject* GetTarget();

    // The field that holds the target while the reference is resolved. The stored containers
    // hand its address out as the element of their collection face.
    PDMc_LDBObject** TargetField() { return &m_target.object; }

    bool IsNull() const { return m_key == 0 && m_target.object == nullptr; }
    // The target if it is loaded already, else null; nothing is loaded.
    PDMc_LDBObject* LoadedTarget() const { return m_key == 0 ? m_target.object : nullptr; }
    bool IsResolved() const { return m_key == 0; }

    // Equal when owner and key agree, so two new objects of one owner compare equal.
    bool operator==(const PDMc_LDBRef& other) const;
    bool operator!=(const PDMc_LDBRef& other) const { return !(*this == other); }

private:
    uint32_t m_key;
    union {
        LDBObjectOwner* owner;   // while m_key is not 0
        PDMc_LDBObject* object;  // while m_key is 0
    } m_target;
};

// The target of a reference as the class its member promises. Null for a null reference; null
// with an error on the stack for a target that can't be loaded or is of another class. With
// `required`, a null reference is an error too.
PDMc_LDBObject* LDBTargetOfType(PDMc_LDBRef& reference, uint8_t typeCode, bool required);
template <class T>
T* LDBTargetAs(PDMc_LDBRef& reference, bool required = false) {
    return static_cast<T*>(LDBTargetOfType(reference, T::kTypeCode, required));
}
