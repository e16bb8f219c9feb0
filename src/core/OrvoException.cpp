#include "OrvoException.h"

#include "OrvoLocaleFactory.h"
#include "OrvoStringUtilities.h"

namespace OrvoSupport {
namespace {

wstring widen(const string& text) {
    return OrvoStringUtilities::widen(text, OrvoLocaleFactory::getDefaultLocale());
}

string narrow(const wstring& text) {
    return OrvoStringUtilities::narrow(text, OrvoLocaleFactory::getDefaultLocale());
}

}  // namespace

OrvoException::OrvoException() = default;

OrvoException::OrvoException(int code) : m_code(code) {}

OrvoException::OrvoException(const wstring& text, int code) : m_text(text), m_code(code) {
    m_callStack.push(text);
}

OrvoException::OrvoException(const string& text, int code) : OrvoException(widen(text), code) {}

OrvoException::OrvoException(const OrvoException& other) = default;
OrvoException& OrvoException::operator=(const OrvoException& other) = default;
OrvoException::~OrvoException() = default;

string OrvoException::getText() const { return narrow(m_text); }

const wstring& OrvoException::getUText() const { return m_text; }

void OrvoException::setText(const wstring& text) { m_text = text; }

void OrvoException::setText(const string& text) { m_text = widen(text); }

int OrvoException::getCode() const { return m_code; }

void OrvoException::setCode(int code) { m_code = code; }

void OrvoException::pushMessage(const wstring& message) { m_callStack.push(message); }

wstring OrvoException::popMessage() {
    wstring message = m_callStack.top();
    m_callStack.pop();
    return message;
}

const std::stack<wstring>& OrvoException::getCallStack() const { return m_callStack; }

wstring OrvoException::getFormattedMessages() const {
    wstring all;
    for (std::stack<wstring> messages = m_callStack; !messages.empty(); messages.pop()) {
        if (!all.empty()) all += L'\n';
        all += messages.top();
    }
    return all;
}

OrvoInvalidDateException::OrvoInvalidDateException(const string& message)
    : OrvoException("OrvoInvalidDateException - " + message) {}
OrvoInvalidDateException::OrvoInvalidDateException(const OrvoInvalidDateException& other) = default;
OrvoInvalidDateException& OrvoInvalidDateException::operator=(const OrvoInvalidDateException& other) =
    default;
OrvoInvalidDateException::~OrvoInvalidDateException() = default;

OrvoKeyDataNotSupportedException::OrvoKeyDataNotSupportedException(const string& message)
    : OrvoException("OrvoKeyDataNotSupportedException - " + message) {}
OrvoKeyDataNotSupportedException::OrvoKeyDataNotSupportedException(
    const OrvoKeyDataNotSupportedException& other) = default;
OrvoKeyDataNotSupportedException& OrvoKeyDataNotSupportedException::operator=(
    const OrvoKeyDataNotSupportedException& other) = default;
OrvoKeyDataNotSupportedException::~OrvoKeyDataNotSupportedException() = default;

OrvoPropertyNotFound::OrvoPropertyNotFound() = default;
OrvoPropertyNotFound::OrvoPropertyNotFound(const char* name) : OrvoPropertyNotFound(string(name)) {}
OrvoPropertyNotFound::OrvoPropertyNotFound(const string& name)
    : OrvoException("Property not found: " + name) {}
OrvoPropertyNotFound::OrvoPropertyNotFound(const string_ci& name)
    : OrvoPropertyNotFound(string(name.data(), name.size())) {}
// A wide name goes through narrow text, so that it reads like the narrow name everywhere.
OrvoPropertyNotFound::OrvoPropertyNotFound(const wstring& name)
    : OrvoException(narrow(L"Property not found: " + name)) {}
OrvoPropertyNotFound::OrvoPropertyNotFound(const wstring_ci& name)
    : OrvoPropertyNotFound(wstring(name.data(), name.size())) {}
OrvoPropertyNotFound::OrvoPropertyNotFound(const wchar_t* name) : OrvoPropertyNotFound(wstring(name)) {}
OrvoPropertyNotFound::OrvoPropertyNotFound(const OrvoPropertyNotFound& other) = default;
OrvoPropertyNotFound& OrvoPropertyNotFound::operator=(const OrvoPropertyNotFound& other) = default;
OrvoPropertyNotFound::~OrvoPropertyNotFound() = default;

}  // namespace OrvoSupport
