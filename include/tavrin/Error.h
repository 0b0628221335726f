// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/String.h>

namespace TvScript {
class Engine;
}

namespace Tavrin {

class Cloneable;
class LiveObject;
class Variant;
struct ErrorData;

namespace detail {
class ErrorRecords;
}

// ErrorInfo: one record of an Error, what went wrong at one level.
// Owns:    its value and its data.
// Threads: a record is read-only while an Error is shared; but what it lets out by getData and
//          getErrorData is the holder's to write.
class TAVRIN_API ErrorInfo : public Heap
{
public:
    // The older record, or null.
    const ErrorInfo *getNext() const noexcept { return next; }
    // The finished message.
    const String &getText() const noexcept { return text; }
    // Where it happened, as far as that is known: the script's file and source text, and the
    // position in it. -1 stands for an unknown line, offset or column.
    const String &getFile() const noexcept { return file; }
    const String &getSource() const noexcept { return source; }
    int getLine() const noexcept { return line; }
    int getOffset() const noexcept { return offset; }
    int getColumn() const noexcept { return column; }
    unsigned short getLength() const noexcept { return length; }
    int getCode() const noexcept { return code; }
    // What the reporter attached, or null. It stays the record's.
    Cloneable *getData() const noexcept { return data; }
    // The value that was thrown. Where there is none, an undefined one is made and kept; D-195: the
    // two fixed records, and any record without memory, give one that the calling thread reuses.
    Variant &getErrorData() const noexcept;

private:
    friend class Error;
    friend class detail::ErrorRecords;

    explicit ErrorInfo(int errorCode) noexcept : code(errorCode) {}
    ErrorInfo(int errorCode, const String &given, bool useTemplate);
    ErrorInfo(int errorCode, const Variant &value);
    ErrorInfo(const ErrorInfo &other);
    ~ErrorInfo();
    ErrorInfo &operator=(const ErrorInfo &) = delete;

    ErrorInfo *next = nullptr;
    String text;
    String file;
    String source;
    mutable Variant *errorData = nullptr;
    Cloneable *data = nullptr;
    int line = -1;
    int offset = -1;
    int column = -1;
    unsigned short length = 0;
    int code;
};

// Error: what went wrong, as a shared stack of records, newest first. Operations that fail return a
// code and push a record into the Error that they were given, if there was one; those further up
// may push more on top. The codes below 80 and their texts are the library's.
// Owns:    one reference on its records. A record owns the Cloneable that was pushed with it; a
//          push takes it over in any case, also when there is nowhere to keep it.
// Threads: copies may live on different threads after InitTerm::setMT; one object is one thread's.
// Cost:    an empty one is a null pointer; copy O(1); a push to a shared one copies all records.
// Failure: a push never throws: when it runs out of memory, the Error becomes one with the only
//          record "Out of memory" of code -28, and when a host's code throws, one with "Uncaught
//          Exception" of code -29. These two are fixed: D-190: later pushes are ignored, until
//          erase or assignment. setMoreInfo without memory changes nothing. Texts that are asked
//          for, and definitions, give std::bad_alloc from Heap, and nothing has changed then.
class TAVRIN_API Error
{
public:
    Error() noexcept = default;
    // Empty, and then pushed to.
    Error(int code, const String &text, bool useTemplate);
    Error(const Error &other) noexcept;
    Error(Error &&other) noexcept : body(std::exchange(other.body, nullptr)) {}
    ~Error() { erase(); }

    Error &operator=(const Error &other) noexcept;
    Error &operator=(Error &&other) noexcept
    {
        Error taken(std::move(other));
        std::swap(body, taken.body);
        return *this;
    }

    // A record whose message is the code's text with `text` in place of "%1", or just `text`.
    void push(int code, const String &text, const Cloneable *data, bool useTemplate);
    // The same with the text of the value; the record keeps a copy of the value.
    void push(int code, const Variant &value, const Cloneable *data);
    // The code's text with nothing in place of "%1".
    void push(int code, const Cloneable *data);
    // The code's text with the sentence that the object finds for the property or index of that id
    // in place of "%1". D-249: so the text of the code stands there twice.
    void push(int code, const LiveObject &object, int id, bool isIndex, const Cloneable *data);
    // A copy of the record. D-191: of its data too, if that can be cloned.
    void push(const ErrorInfo &record);
    // Copies of all records, in their order. It may be this Error itself.
    void push(const Error &other);

    // Back to no records.
    void erase() noexcept
    {
        if (ErrorData *dropped = std::exchange(body, nullptr))
            drop(dropped);
    }

    // The newest record, until the next change of this Error; null when there is none.
    const ErrorInfo *getError() const noexcept;
    // Its code, or 0; its value, or null.
    int getCode() const noexcept;
    Variant *getErrorData() const noexcept;
    // Replaces `text` by the messages, the newest first, each older one on a line of its own behind
    // "- ".
    void getFullText(String &text) const;

    // Where the newest failure happened, if there is one that is not fixed.
    void setMoreInfo(const String &source, int line, int offset, int column, unsigned short length);

    // The host's own codes, which may also replace texts of the library. They belong to start and
    // stop, while one thread uses the library. The sign of a code does not matter; a null or empty
    // class name means "Error".
    static void defineError(int code, const String &text, const char *className);
    // D-192: its class name goes too, even when another code has the same.
    static void undefineError(int code);
    // The text, with placeholders, and the class name of a code; that is empty for the library's
    // own. False for a code that nobody has defined.
    static bool getErrorDefinition(int code, String &text, String &className);
    // Whether that is the name of a class of errors, of the language's or of a host's.
    static bool isErrorClass(const String &name);

protected:
    friend class TvScript::Engine;

    // The file of the newest record, on the terms of setMoreInfo. For interpreters.
    void setFile(const String &file);

private:
    static void drop(ErrorData *dropped) noexcept;

    bool isFixed() const noexcept;
    void become(ErrorData &fixed) noexcept;
    template <class Make>
    void pushMade(Make make);
    template <class Change>
    void changeNewest(const String &text, Change change);
    bool unique();

    ErrorData *body = nullptr; // null when there are no records
};

} // namespace Tavrin

// Replaces `message` by the text of the code in the user's language, with its placeholders. The
// sign of the code does not matter. D-193: a code of 80 or more that nobody has defined leaves the
// caller's text, and gives an empty one "Error #%1".
TAVRIN_API void TvGetErrorMsg(int code, Tavrin::String &message);
