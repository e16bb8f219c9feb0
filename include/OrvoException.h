// The one error type that leaves the library, and its subclasses.
#ifndef ORVO_EXCEPTION_H
#define ORVO_EXCEPTION_H

#include <stack>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// A failure the caller must handle: a text (held wide), a code, and a stack of messages to which code
/// further up the call chain adds context before it rethrows. The bottom of the stack is the text given at
/// construction; it stays when the text is replaced. Narrow text converts with the default locale.
///
/// Thread safety: none; an exception belongs to the thread that handles it.
class OSUPT_API OrvoException {
public:
    /// Empty text, code 0, empty stack.
    OrvoException();
    /// Empty text and empty stack.
    explicit OrvoException(int code);
    /// The text is also the one element of the stack.
    OrvoException(const wstring& text, int code = 0);
    /// The same with the widened text.
    OrvoException(const string& text, int code = 0);
    /// Copies text, code and the whole stack.
    OrvoException(const OrvoException& other);
    OrvoException& operator=(const OrvoException& other);
    virtual ~OrvoException();

    /// A narrowed copy of the text.
    virtual string getText() const;
    /// The text itself; valid until the next setText or the end of the exception.
    virtual const wstring& getUText() const;
    /// Replaces the text and leaves the message stack as it is.
    virtual void setText(const wstring& text);
    virtual void setText(const string& text);

    /// The code given at construction or set last, 0 when none was.
    virtual int getCode() const;
    virtual void setCode(int code);

    /// Puts a copy of the message on top of the stack; the text stays.
    virtual void pushMessage(const wstring& message);
    /// Removes the newest message and returns it. The stack must not be empty.
    virtual wstring popMessage();
    /// The stack itself, newest message on top.
    virtual const std::stack<wstring>& getCallStack() const;
    /// All messages, newest first, one a line, without a line feed after the last. Leading empty messages
    /// leave no line behind.
    virtual wstring getFormattedMessages() const;

private:
    wstring m_text;
    int m_code = 0;
    std::stack<wstring> m_callStack;
};

/// A date or time that does not exist or cannot be read: "OrvoInvalidDateException - " and the message.
class OSUPT_API OrvoInvalidDateException : public OrvoException {
public:
    explicit OrvoInvalidDateException(const string& message);
    OrvoInvalidDateException(const OrvoInvalidDateException& other);
    OrvoInvalidDateException& operator=(const OrvoInvalidDateException& other);
    ~OrvoInvalidDateException() override;
};

/// A registry value of a type the library does not read: "OrvoKeyDataNotSupportedException - " and the
/// message.
class OSUPT_API OrvoKeyDataNotSupportedException : public OrvoException {
public:
    explicit OrvoKeyDataNotSupportedException(const string& message);
    OrvoKeyDataNotSupportedException(const OrvoKeyDataNotSupportedException& other);
    OrvoKeyDataNotSupportedException& operator=(const OrvoKeyDataNotSupportedException& other);
    ~OrvoKeyDataNotSupportedException() override;
};

/// A property that had to be there is missing: "Property not found: " and its name.
class OSUPT_API OrvoPropertyNotFound : public OrvoException {
public:
    /// Empty text, code 0, empty stack.
    OrvoPropertyNotFound();
    /// The name must not be null.
    explicit OrvoPropertyNotFound(const char* name);
    explicit OrvoPropertyNotFound(const string& name);
    explicit OrvoPropertyNotFound(const string_ci& name);
    /// A wide name is narrowed with the default locale first.
    explicit OrvoPropertyNotFound(const wstring& name);
    explicit OrvoPropertyNotFound(const wstring_ci& name);
    explicit OrvoPropertyNotFound(const wchar_t* name);
    OrvoPropertyNotFound(const OrvoPropertyNotFound& other);
    OrvoPropertyNotFound& operator=(const OrvoPropertyNotFound& other);
    ~OrvoPropertyNotFound() override;
};

}  // namespace OrvoSupport

#endif
