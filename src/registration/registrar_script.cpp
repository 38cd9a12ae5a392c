#include "registration/registrar_script.h"

#include <algorithm>

#include "registration/registrar.h"

namespace quillet {
namespace {

constexpr std::wstring_view kBlanks = L" \t\r\n";
constexpr std::wstring_view kRoot = L"HKCR";
constexpr std::wstring_view kOpen = L"{";
constexpr std::wstring_view kClose = L"}";
constexpr std::wstring_view kEquals = L"=";
constexpr std::wstring_view kStringType = L"s";
constexpr std::wstring_view kNamedValue = L"val";
constexpr std::wstring_view kNoRemove = L"NoRemove";
constexpr std::wstring_view kForceRemove = L"ForceRemove";
constexpr std::wstring_view kModule = L"%MODULE%";
// A quote or '=' in a name is a blank left out ("Name= s"); a backslash would make two levels of
// one name, which unregistering and roll-back could not take back exactly; '%' is a replacement
// the registrar does not offer.
constexpr std::wstring_view kNotInNames = L"'=\\%";

class Parser {
public:
    Parser(std::wstring_view text, std::wstring_view module) : m_text(text), m_module(module) { Advance(); }

    bool Parse()
    {
        if (Take() != kRoot || Take() != kOpen)
            return false;
        std::vector<size_t> open{kTopLevel}; // keys whose braces are open, innermost last
        while (!open.empty()) {
            const std::wstring_view token = Take();
            if (token.empty())
                return false;
            if (token == kClose)
                open.pop_back();
            else if (!(token == kNamedValue ? NamedValue(open.back()) : Key(token, open)))
                return false;
        }
        return m_token.empty();
    }

    std::vector<ScriptKey>& keys() { return m_keys; }

private:
    // The next token: blank-separated, except that quoted text runs to its closing quote.
    void Advance()
    {
        const size_t start = std::min(m_text.find_first_not_of(kBlanks, m_end), m_text.size());
        size_t end = start;
        if (m_text.substr(start).starts_with(kScriptQuote)) {
            do
                end = m_text.find(kScriptQuote, end + 1);
            while (end != m_text.npos && m_text.substr(++end).starts_with(kScriptQuote));
        }
        m_end = std::min(m_text.find_first_of(kBlanks, end), m_text.size());
        m_token = m_text.substr(start, m_end - start);
    }

    std::wstring_view Take()
    {
        const std::wstring_view token = m_token;
        Advance();
        return token;
    }

    bool NamedValue(size_t owner)
    {
        std::wstring name;
        std::wstring text;
        if (owner == kTopLevel || !Name(Take(), name) || Take() != kEquals || !Value(text))
            return false;
        m_keys[owner].namedValues.emplace_back(std::move(name), std::move(text));
        return true;
    }

    bool Key(std::wstring_view token, std::vector<size_t>& open)
    {
        ScriptKey key;
        key.parent = open.back();
        if (token == kNoRemove || token == kForceRemove) {
            key.removal = token == kNoRemove ? KeyRemoval::NoRemove : KeyRemoval::ForceRemove;
            token = Take();
        }
        if (!Name(token, key.name))
            return false;
        if (m_token == kEquals) {
            Advance();
            if (!Value(key.defaultValue.emplace()))
                return false;
        }
        if (m_token == kOpen) {
            Advance();
            open.push_back(m_keys.size());
        }
        m_keys.push_back(std::move(key));
        return true;
    }

    static bool Name(std::wstring_view token, std::wstring& name)
    {
        if (token == kOpen || token == kClose || token.find_first_of(kNotInNames) != token.npos)
            return false;
        name = token;
        return true;
    }

    bool Value(std::wstring& text) { return Take() == kStringType && Unquote(Take(), text); }

    // %MODULE% is replaced first and the doubled quotes undone after, so a quote the module's path
    // brings in undoubled is refused like one in the script.
    bool Unquote(std::wstring_view token, std::wstring& text) const
    {
        if (!token.starts_with(kScriptQuote))
            return false;
        token.remove_prefix(1);
        if (!token.ends_with(kScriptQuote))
            return false;
        token.remove_suffix(1);
        std::wstring replaced;
        for (size_t percent = token.find(L'%'); percent != token.npos; percent = token.find(L'%')) {
            if (token.substr(percent, kModule.size()) != kModule)
                return false;
            replaced.append(token.substr(0, percent)).append(m_module);
            token.remove_prefix(percent + kModule.size());
        }
        replaced.append(token);
        for (size_t i = 0; i < replaced.size(); ++i) {
            if (replaced[i] == kScriptQuote && (++i == replaced.size() || replaced[i] != kScriptQuote))
                return false;
            text += replaced[i];
        }
        return true;
    }

    std::wstring_view m_text;
    std::wstring_view m_module;
    size_t m_end = 0;         // where the current token ends
    std::wstring_view m_token; // the current token; empty at the end of the text
    std::vector<ScriptKey> m_keys;
};

} // namespace

std::optional<std::vector<ScriptKey>> ParseRegistrarScript(std::wstring_view script, std::wstring_view module)
{
    Parser parser(script, module);
    if (!parser.Parse())
        return {};
    return std::move(parser.keys());
}

} // namespace quillet
