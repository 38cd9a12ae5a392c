#include "module/registrar_script.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace quillet {
namespace {

bool SameIgnoringCase(std::wstring_view a, std::wstring_view b)
{
    if (a.size() > INT_MAX || b.size() > INT_MAX)
        return false;
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()),
                                TRUE) == CSTR_EQUAL;
}

// A stray NUL (such as padding after the text of a resource) separates tokens like a blank.
bool IsBlank(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n' || c == L'\v' || c == L'\f' || c == L'\0' ||
           c == 0xFEFF;
}

struct RootName {
    const wchar_t* shortName;
    const wchar_t* longName;
    HKEY key;
};

const RootName kRoots[] = {
    {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
    {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
    {L"HKU", L"HKEY_USERS", HKEY_USERS},
    {L"HKCC", L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG},
};

HKEY FindRoot(std::wstring_view name)
{
    for (const RootName& root : kRoots) {
        if (SameIgnoringCase(name, root.shortName) || SameIgnoringCase(name, root.longName))
            return root.key;
    }
    return nullptr;
}

struct Token {
    enum Kind { End, Open, Close, Equals, Word, Quoted };
    Kind kind = End;
    std::wstring text;   // after replacement (and, when quoted, with doubled quotes undone)
    bool plain = false;  // a bare word written without %NAME%: only such a word can be a keyword
    size_t offset = 0;
};

bool IsKeyword(const Token& token, const wchar_t* keyword)
{
    return token.kind == Token::Word && token.plain && SameIgnoringCase(token.text, keyword);
}

bool IsReservedWord(const Token& token)
{
    return IsKeyword(token, L"ForceRemove") || IsKeyword(token, L"NoRemove") || IsKeyword(token, L"Delete") ||
           IsKeyword(token, L"val");
}

std::vector<BYTE> StringBytes(const std::wstring& text)
{
    std::vector<BYTE> bytes((text.size() + 1) * sizeof(wchar_t), 0);
    std::memcpy(bytes.data(), text.c_str(), bytes.size());
    return bytes;
}

int HexDigit(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

bool ParseDword(std::wstring_view text, DWORD& value)
{
    unsigned base = 10;
    if (text.size() >= 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty())
        return false;
    std::uint64_t result = 0;
    for (wchar_t c : text) {
        const int digit = HexDigit(c);
        if (digit < 0 || static_cast<unsigned>(digit) >= base)
            return false;
        result = result * base + static_cast<unsigned>(digit);
        if (result > 0xFFFFFFFFu)
            return false;
    }
    value = static_cast<DWORD>(result);
    return true;
}

class Parser {
public:
    Parser(std::wstring_view text, std::span<const RegistrarReplacement> replacements,
           RegistrarParseError* error)
        : m_text(text), m_replacements(replacements), m_error(error)
    {
    }

    bool ParseScript(RegistrarScript& script)
    {
        Token token;
        if (!Next(token))
            return false;
        if (token.kind == Token::End)
            return Fail(token.offset, L"the script is empty");
        while (token.kind != Token::End) {
            if (token.kind != Token::Word || !token.plain)
                return Fail(token.offset, L"expected a root key such as HKCR");
            RegistrarBlock block;
            block.root = FindRoot(token.text);
            if (!block.root)
                return Fail(token.offset, L"unknown root key");
            block.body.flag = RegistrarKeyFlag::NoRemove;
            block.body.name = token.text;
            Token open;
            if (!Next(open))
                return false;
            if (open.kind != Token::Open)
                return Fail(open.offset, L"expected '{' after the root key");
            if (!ParseBody(block.body, 1, open.offset))
                return false;
            script.blocks.push_back(std::move(block));
            if (!Next(token))
                return false;
        }
        return true;
    }

private:
    bool Fail(size_t offset, const wchar_t* reason)
    {
        if (m_error) {
            m_error->offset = offset;
            m_error->reason = reason;
        }
        return false;
    }

    // --- tokens -------------------------------------------------------------------------

    bool Next(Token& token)
    {
        if (m_havePeeked) {
            m_havePeeked = false;
            token = std::move(m_peeked);
            return true;
        }
        return Read(token);
    }

    bool Peek(const Token*& token)
    {
        if (!m_havePeeked) {
            if (!Read(m_peeked))
                return false;
            m_havePeeked = true;
        }
        token = &m_peeked;
        return true;
    }

    bool Read(Token& token)
    {
        while (m_pos < m_text.size() && IsBlank(m_text[m_pos]))
            ++m_pos;
        token = Token{};
        token.offset = m_pos;
        if (m_pos == m_text.size())
            return true; // End

        if (m_text[m_pos] == L'\'')
            return ReadQuoted(token);

        const size_t start = m_pos;
        while (m_pos < m_text.size() && !IsBlank(m_text[m_pos]))
            ++m_pos;
        const std::wstring_view raw = m_text.substr(start, m_pos - start);
        // Structure comes from the script's own text, never from a replacement.
        if (raw == L"{") {
            token.kind = Token::Open;
            return true;
        }
        if (raw == L"}") {
            token.kind = Token::Close;
            return true;
        }
        if (raw == L"=") {
            token.kind = Token::Equals;
            return true;
        }
        // Almost always a missing blank ("Name= s", "s'text'"); such names can be quoted.
        if (raw.find(L'\'') != std::wstring_view::npos)
            return Fail(start, L"a quote inside a bare word; separate tokens with blanks");
        if (raw.find(L'=') != std::wstring_view::npos)
            return Fail(start, L"'=' inside a bare word; separate tokens with blanks");
        token.kind = Token::Word;
        token.plain = raw.find(L'%') == std::wstring_view::npos;
        if (!Replace(raw, start, token.text))
            return false;
        if (token.text.find(L'\0') != std::wstring::npos)
            return Fail(start, L"a replacement holds a NUL character");
        return true;
    }

    bool ReadQuoted(Token& token)
    {
        const size_t start = m_pos++;
        std::wstring raw; // doubled quotes kept: they are undone after replacement
        for (;;) {
            if (m_pos >= m_text.size())
                return Fail(start, L"unterminated quoted string");
            const wchar_t c = m_text[m_pos];
            if (c == L'\'') {
                if (m_pos + 1 < m_text.size() && m_text[m_pos + 1] == L'\'') {
                    raw += L"''";
                    m_pos += 2;
                    continue;
                }
                ++m_pos;
                break;
            }
            if (c == L'\0')
                return Fail(m_pos, L"a NUL character inside a quoted string");
            raw += c;
            ++m_pos;
        }
        if (m_pos < m_text.size() && !IsBlank(m_text[m_pos]))
            return Fail(m_pos, L"a quoted string must be followed by a blank");

        std::wstring replaced;
        if (!Replace(raw, start, replaced))
            return false;
        token.kind = Token::Quoted;
        token.text.reserve(replaced.size());
        for (size_t i = 0; i < replaced.size(); ++i) {
            const wchar_t c = replaced[i];
            if (c == L'\0')
                return Fail(start, L"a replacement holds a NUL character");
            if (c == L'\'') {
                // Only a replacement can bring a lone quote here: its value was not doubled.
                if (i + 1 >= replaced.size() || replaced[i + 1] != L'\'')
                    return Fail(start, L"a replacement inside quotes holds an undoubled quote");
                ++i;
            }
            token.text += c;
        }
        return true;
    }

    bool Replace(std::wstring_view raw, size_t offset, std::wstring& out)
    {
        out.clear();
        out.reserve(raw.size());
        for (size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != L'%') {
                out += raw[i];
                continue;
            }
            const size_t close = raw.find(L'%', i + 1);
            if (close == std::wstring_view::npos)
                return Fail(offset, L"a '%' without its closing '%'");
            const std::wstring_view name = raw.substr(i + 1, close - i - 1);
            i = close;
            if (name.empty()) {
                out += L'%';
                continue;
            }
            const RegistrarReplacement* found = nullptr;
            for (const RegistrarReplacement& replacement : m_replacements) {
                if (SameIgnoringCase(name, replacement.name)) {
                    found = &replacement;
                    break;
                }
            }
            if (!found)
                return Fail(offset, L"an unknown %NAME% replacement");
            out += found->value;
        }
        return true;
    }

    // --- structure ------------------------------------------------------------------------

    bool ParseBody(RegistrarKey& key, int depth, size_t openOffset)
    {
        if (depth > kMaxRegistrarNesting)
            return Fail(openOffset, L"keys nested too deeply");
        for (;;) {
            Token token;
            if (!Next(token))
                return false;
            switch (token.kind) {
            case Token::End:
                return Fail(token.offset, L"a '{' without its '}'");
            case Token::Close:
                return true;
            case Token::Open:
                return Fail(token.offset, L"'{' where a key name was expected");
            case Token::Equals:
                return Fail(token.offset, L"'=' where a key name was expected");
            case Token::Word:
            case Token::Quoted:
                if (IsKeyword(token, L"val")) {
                    if (!ParseNamedValue(key))
                        return false;
                } else if (!ParseKey(token, key, depth)) {
                    return false;
                }
                break;
            }
        }
    }

    bool ParseNamedValue(RegistrarKey& key)
    {
        Token name;
        if (!Next(name))
            return false;
        if ((name.kind != Token::Word && name.kind != Token::Quoted) || IsReservedWord(name))
            return Fail(name.offset, L"expected a value name after 'val'");
        if (name.text.empty())
            return Fail(name.offset, L"an empty value name; a default value is written 'Key = s ...'");
        Token equals;
        if (!Next(equals))
            return false;
        if (equals.kind != Token::Equals)
            return Fail(equals.offset, L"expected '=' after the value name");
        RegistrarValue value;
        value.name = std::move(name.text);
        if (!ParseValue(value))
            return false;
        key.values.push_back(std::move(value));
        return true;
    }

    bool ParseKey(Token& first, RegistrarKey& parent, int depth)
    {
        RegistrarKey key;
        Token name;
        if (IsKeyword(first, L"ForceRemove"))
            key.flag = RegistrarKeyFlag::ForceRemove;
        else if (IsKeyword(first, L"NoRemove"))
            key.flag = RegistrarKeyFlag::NoRemove;
        else if (IsKeyword(first, L"Delete"))
            key.flag = RegistrarKeyFlag::Delete;
        if (key.flag == RegistrarKeyFlag::None) {
            name = std::move(first);
        } else if (!Next(name)) {
            return false;
        }
        if ((name.kind != Token::Word && name.kind != Token::Quoted) || IsReservedWord(name))
            return Fail(name.offset, L"expected a key name");
        if (name.text.empty())
            return Fail(name.offset, L"an empty key name");
        // One registry level per name: what is deleted and rolled back is then exactly what the
        // script shows.
        if (name.text.find(L'\\') != std::wstring::npos)
            return Fail(name.offset, L"a backslash in a key name; nest the keys instead");
        key.name = std::move(name.text);

        const Token* next = nullptr;
        if (!Peek(next))
            return false;
        if (next->kind == Token::Equals) {
            if (key.flag == RegistrarKeyFlag::Delete)
                return Fail(next->offset, L"a key marked Delete takes no value");
            Token equals;
            Next(equals);
            key.hasDefault = true;
            if (!ParseValue(key.defaultValue))
                return false;
            if (!Peek(next))
                return false;
        }
        if (next->kind == Token::Open) {
            if (key.flag == RegistrarKeyFlag::Delete)
                return Fail(next->offset, L"a key marked Delete takes no block");
            Token open;
            Next(open);
            if (!ParseBody(key, depth + 1, open.offset))
                return false;
        }
        parent.subkeys.push_back(std::move(key));
        return true;
    }

    bool ParseValue(RegistrarValue& value)
    {
        Token type;
        if (!Next(type))
            return false;
        if (type.kind == Token::End || type.kind == Token::Open || type.kind == Token::Close)
            return Fail(type.offset, L"missing value after '='");
        if (type.kind != Token::Word)
            return Fail(type.offset, L"expected a value type letter after '='");
        if (!type.plain || type.text.size() != 1)
            return Fail(type.offset, L"unknown value type; expected s, e, d, b or m");
        const wchar_t letter = type.text[0] | 0x20; // lower case for the ASCII letters below

        Token data;
        if (!Next(data))
            return false;
        if (data.kind != Token::Quoted)
            return Fail(data.offset, L"expected quoted data after the value type");

        switch (letter) {
        case L's':
            value.type = REG_SZ;
            value.data = StringBytes(data.text);
            return true;
        case L'e':
            value.type = REG_EXPAND_SZ;
            value.data = StringBytes(data.text);
            return true;
        case L'd': {
            DWORD number = 0;
            if (!ParseDword(data.text, number))
                return Fail(data.offset, L"a d value must be a decimal or 0x hex number below 2^32");
            value.type = REG_DWORD;
            value.data.assign(sizeof(number), 0);
            std::memcpy(value.data.data(), &number, sizeof(number));
            return true;
        }
        case L'b': {
            if (data.text.size() % 2 != 0)
                return Fail(data.offset, L"a b value needs pairs of hex digits");
            value.type = REG_BINARY;
            value.data.clear();
            value.data.reserve(data.text.size() / 2);
            for (size_t i = 0; i < data.text.size(); i += 2) {
                const int high = HexDigit(data.text[i]);
                const int low = HexDigit(data.text[i + 1]);
                if (high < 0 || low < 0)
                    return Fail(data.offset, L"a b value needs pairs of hex digits");
                value.data.push_back(static_cast<BYTE>(high * 16 + low));
            }
            return true;
        }
        case L'm': {
            // Items separated by the two characters \0; the list ends with an empty item.
            std::wstring list;
            const std::wstring& text = data.text;
            size_t itemStart = 0;
            while (!text.empty()) {
                const size_t separator = text.find(L"\\0", itemStart);
                const size_t itemEnd = separator == std::wstring::npos ? text.size() : separator;
                if (itemEnd == itemStart) // an empty item would end the list early for every reader
                    return Fail(data.offset, L"an empty item in an m value");
                list.append(text, itemStart, itemEnd - itemStart);
                list += L'\0';
                if (separator == std::wstring::npos)
                    break;
                itemStart = separator + 2;
            }
            value.type = REG_MULTI_SZ;
            value.data = StringBytes(list); // adds the final NUL that closes the list
            return true;
        }
        default:
            return Fail(type.offset, L"unknown value type; expected s, e, d, b or m");
        }
    }

    std::wstring_view m_text;
    std::span<const RegistrarReplacement> m_replacements;
    RegistrarParseError* m_error;
    size_t m_pos = 0;
    Token m_peeked;
    bool m_havePeeked = false;
};

} // namespace

HRESULT ParseRegistrarScript(std::wstring_view script, std::span<const RegistrarReplacement> replacements,
                             RegistrarScript& result, RegistrarParseError* error)
{
    try {
        RegistrarScript parsed;
        Parser parser(script, replacements, error);
        if (!parser.ParseScript(parsed))
            return kMalformedRegistrarScript;
        result = std::move(parsed);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

} // namespace quillet
