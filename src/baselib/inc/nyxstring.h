// nyxString: the library's one owning narrow text. Never null: an unset string points at the
// shared empty text, and whether it owns its text is decided by comparing with that pointer.
#pragma once

#include <cstddef>
#include <iosfwd>

class nyxConstString {
public:
    virtual ~nyxConstString() = default;
    virtual const char* c_str() const = 0;
};

// The process-wide empty text; a default-built nyxString holds exactly this pointer.
const char* nyxStringEmpty();
// Null gives the shared empty text, anything else a new heap copy.
char* nyxStringDup(const char* text);
// Null stays null, anything else gives a new heap copy.
char* nyxStrdup(const char* text);
// A new heap text holding both texts; null stands for an empty text on either side.
char* nyxStringConcat(const char* first, const char* second);
// Releases a heap text from the functions above; the shared empty text and null are ignored.
void nyxStringFree(char* text);

class nyxString : public nyxConstString {
public:
    nyxString();
    nyxString(const char* text);  // NOLINT: implicit on purpose, strings are built from texts
    nyxString(const nyxString& other);
    nyxString(nyxString&& other) noexcept;
    ~nyxString() override;

    nyxString& operator=(const nyxString& other);
    nyxString& operator=(nyxString&& other) noexcept;
    nyxString& operator=(const char* text);

    const char* c_str() const override { return text; }
    size_t Length() const;
    bool IsEmpty() const { return text[0] == '\0'; }
    bool OwnsText() const { return text != nyxStringEmpty(); }

    void Clear();
    nyxString& Append(const char* more);
    // Reads up to the end of the stream or a NUL.
    void ReadFrom(std::istream& in);

    bool operator==(const nyxString& other) const;
    bool operator!=(const nyxString& other) const { return !(*this == other); }

private:
    char* text;
};
