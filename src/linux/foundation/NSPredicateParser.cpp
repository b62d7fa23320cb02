#include "linux/foundation/NSPredicateParser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>
#include <variant>

namespace tessaly {
namespace {

constexpr int kMaximumDepth = 200;
constexpr std::string_view kDigits = "0123456789";

constexpr auto kKeywords = std::to_array<std::string_view>(
    {"AND",     "OR", "NOT",    "ANY",   "SOME", "ALL", "NONE",     "SELF",       "TRUEPREDICATE", "FALSEPREDICATE",
     "YES",     "NO", "TRUE",   "FALSE", "NULL", "NIL", "CONTAINS", "BEGINSWITH", "ENDSWITH",      "LIKE",
     "MATCHES", "IN", "BETWEEN"});

/// Longest first, so that %ld is not read as a long and a stray "d".
constexpr auto kSubstitutions = std::to_array<std::string_view>(
    {"%lld", "%lli", "%llu", "%ld", "%li", "%lu", "%d", "%i", "%u", "%f", "%@", "%K", "%%"});

constexpr auto kSymbols = std::to_array<std::string_view>(
    {"==", "=<", "=>", "!=", "<>", "<=", ">=", "&&", "||", "=", "<", ">", "!", "(", ")", "{", "}", "[", "]", ","});

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool equalIgnoringCase(std::string_view text, std::string_view other) {
    return std::ranges::equal(text, other, {}, upper, upper);
}

bool isNameStart(char c) {
    const char folded = upper(c);
    return (folded >= 'A' && folded <= 'Z') || c == '_' || c == '@' || static_cast<unsigned char>(c) >= 0x80;
}

bool isAmong(std::string_view bytes, char c) { return bytes.find(c) != std::string_view::npos; }

bool isNameByte(char c) { return isNameStart(c) || isAmong(kDigits, c); }

/// Bytes of the dotted name that `text` begins with.
std::size_t nameLength(std::string_view text) {
    std::size_t end = 0;
    while (end < text.size() && isNameStart(text[end])) {
        while (end < text.size() && isNameByte(text[end])) ++end;
        if (end + 1 >= text.size() || text[end] != '.' || !isNameStart(text[end + 1])) break;
        ++end;
    }
    return end;
}

/// Whether `text` begins with `pattern`, where 0 stands for any digit.
bool beginsAs(std::string_view text, std::string_view pattern) {
    return text.size() >= pattern.size() &&
           std::ranges::equal(text.substr(0, pattern.size()), pattern,
                              [](char c, char wanted) { return wanted == '0' ? isAmong(kDigits, c) : c == wanted; });
}

/// Bytes of the month, day or moment of ISO 8601 that `text` begins with; 0 for none. A year alone is a number.
std::size_t dateLength(std::string_view text) {
    std::size_t length = 0;
    const auto goesOn = [&](std::initializer_list<std::string_view> patterns) {
        for (const std::string_view pattern : patterns)
            if (beginsAs(text.substr(length), pattern)) return length += pattern.size(), true;
        return false;
    };
    if (!goesOn({"0000-00"}) || !goesOn({"-00"}) || !goesOn({"T00:00"})) return length;
    goesOn({":00"});
    goesOn({"Z", "+00:00", "-00:00"});
    return length;
}

bool isKeyword(std::string_view word) {
    return std::ranges::any_of(kKeywords, [&](std::string_view keyword) { return equalIgnoringCase(word, keyword); });
}

bool startsWithSelf(std::string_view name) {
    return equalIgnoringCase(name.substr(0, 5), "SELF.") || equalIgnoringCase(name, "SELF");
}

PredicateNode nodeOfKind(PredicateNode::Kind kind) {
    PredicateNode node;
    node.kind = kind;
    return node;
}

struct Token {
    enum class Kind : std::uint8_t { end, word, name, number, text, symbol, substitution, fault };

    Kind kind = Kind::end;
    std::size_t position = 0;
    std::string_view source;
    std::string text;  ///< Of a name or text without its quotes; what is wrong with a fault.
    Value number;
};

class Lexer {
public:
    explicit Lexer(std::string_view source) : source_(source) {}

    Token next() {
        at_ = std::min(source_.find_first_not_of(" \t\r\n", at_), source_.size());
        Token token;
        token.position = at_;
        const std::size_t start = at_;
        read(token);
        token.source = source_.substr(start, at_ - start);
        if (token.kind == Token::Kind::fault && token.text.empty())
            token.text = "\"" + std::string(token.source) + "\" is not understood";
        return token;
    }

private:
    [[nodiscard]] std::string_view rest() const { return source_.substr(at_); }
    [[nodiscard]] bool atAny(std::string_view bytes) const {
        return at_ < source_.size() && isAmong(bytes, source_[at_]);
    }

    void read(Token& token) {
        if (at_ == source_.size()) return;
        if (atAny("'\"")) return readText(token, Token::Kind::text);
        if (atAny("#")) return readName(token);
        if (const std::size_t length = dateLength(rest())) return readDate(token, length);
        if (atNumber()) return readNumber(token);
        if (const std::size_t length = nameLength(rest())) return take(token, Token::Kind::word, length);
        if (atAny("%")) return readSubstitution(token);
        const auto* symbol = std::ranges::find_if(kSymbols, [&](auto text) { return rest().starts_with(text); });
        if (symbol == kSymbols.end()) return take(token, Token::Kind::fault, 1);
        take(token, Token::Kind::symbol, symbol->size());
    }

    void take(Token& token, Token::Kind kind, std::size_t length) {
        token.kind = kind;
        at_ += length;
    }

    static void fault(Token& token, std::string_view message) {
        token.kind = Token::Kind::fault;
        token.text = message;
    }

    void readText(Token& token, Token::Kind kind) {
        const char quote = source_[at_++];
        token.kind = kind;
        while (at_ < source_.size() && source_[at_] != quote) {
            const char c = source_[at_++];
            if (c == '\\' && at_ < source_.size())
                token.text += unescaped(source_[at_++]);
            else
                token.text += c;
            if (c == '%' && atAny("%")) ++at_;
        }
        if (at_ == source_.size()) return fault(token, "the text is not closed");
        ++at_;
    }

    static char unescaped(char c) {
        if (c == 'n') return '\n';
        if (c == 't') return '\t';
        if (c == 'r') return '\r';
        return c;
    }

    void readName(Token& token) {
        ++at_;
        if (atAny("'\"")) {
            readText(token, Token::Kind::name);
        } else {
            token.text = rest().substr(0, nameLength(rest()));
            take(token, Token::Kind::name, token.text.size());
        }
        if (token.text.empty()) fault(token, "a name is expected behind #");
    }

    [[nodiscard]] bool atNumber() const {
        std::string_view text = rest();
        if (text.starts_with('-')) text.remove_prefix(1);
        if (text.starts_with('.')) text.remove_prefix(1);
        return !text.empty() && isAmong(kDigits, text.front());
    }

    void readDate(Token& token, std::size_t length) {
        token.text = rest().substr(0, length);
        take(token, Token::Kind::text, length);
        if (at_ < source_.size() && (isNameByte(source_[at_]) || atAny("-:."))) take(token, Token::Kind::fault, 1);
        if (token.kind == Token::Kind::fault) token.text.clear();
    }

    void readNumber(Token& token) {
        const std::size_t start = at_;
        if (atAny("-")) ++at_;
        skipDigits();
        if (atAny(".")) ++at_;
        skipDigits();
        skipExponent();
        token.number = numberOf(source_.substr(start, at_ - start));
        token.kind = Token::Kind::number;
        if (token.number.isNull()) return fault(token, "the number is out of range");
        if (at_ < source_.size() && (isNameByte(source_[at_]) || source_[at_] == '.'))
            take(token, Token::Kind::fault, 1);
    }

    void skipDigits() { at_ = std::min(source_.find_first_not_of(kDigits, at_), source_.size()); }

    void skipExponent() {
        if (!atAny("eE")) return;
        const std::size_t start = at_++;
        if (atAny("+-")) ++at_;
        const std::size_t digits = at_;
        skipDigits();
        if (at_ == digits) at_ = start;
    }

    /// A whole number too large for 64 bits becomes a fraction.
    static Value numberOf(std::string_view digits) {
        const char* const last = digits.data() + digits.size();
        std::int64_t whole = 0;
        if (const auto result = std::from_chars(digits.data(), last, whole);
            result.ec == std::errc{} && result.ptr == last)
            return whole;
        double real = 0;
        const auto result = std::from_chars(digits.data(), last, real);
        return result.ec == std::errc{} && result.ptr == last ? Value(real) : Value();
    }

    void readSubstitution(Token& token) {
        const auto* found = std::ranges::find_if(kSubstitutions, [&](auto text) { return rest().starts_with(text); });
        if (found == kSubstitutions.end())
            return take(token, Token::Kind::fault, std::min<std::size_t>(2, rest().size()));
        take(token, Token::Kind::substitution, found->size());
        const bool isLetter = isNameByte(found->back()) && found->back() != '@';
        if (isLetter && at_ < source_.size() && isNameByte(source_[at_])) take(token, Token::Kind::fault, 1);
    }

    std::string_view source_;
    std::size_t at_ = 0;
};

class Parser {
public:
    Parser(std::string_view source, std::span<const Value> arguments, std::string& error)
        : lexer_(source), token_(lexer_.next()), arguments_(arguments), error_(error) {}

    std::optional<PredicateNode> parse() {
        auto item = parseDisjunction(0);
        if (!item) return std::nullopt;
        if (token_.kind != Token::Kind::end) return unexpected();
        auto node = nodeOf(std::move(*item), 0);
        if (node && used_ < arguments_.size())
            return fail("the format uses " + std::to_string(used_) + " of " + std::to_string(arguments_.size()) +
                            " arguments and ends",
                        token_.position);
        return node;
    }

private:
    /// What stands between parentheses may turn out to be either; one pass decides, so that deep nesting stays linear.
    using Item = std::variant<PredicateNode, PredicateExpression>;
    using Rule = std::optional<Item> (Parser::*)(int depth);

    std::nullopt_t fail(std::string_view message, std::size_t position) {
        if (error_.empty()) error_ = std::string(message) + " at position " + std::to_string(position + 1);
        return std::nullopt;
    }

    std::nullopt_t unexpected() {
        if (token_.kind == Token::Kind::fault) return fail(token_.text, token_.position);
        if (token_.kind == Token::Kind::end) return fail("the text ends too early", token_.position);
        return fail("\"" + std::string(token_.source) + "\" is unexpected", token_.position);
    }

    void advance() { token_ = lexer_.next(); }
    [[nodiscard]] bool at(std::string_view text) const {
        return (token_.kind == Token::Kind::word || token_.kind == Token::Kind::symbol) &&
               equalIgnoringCase(token_.source, text);
    }

    bool take(std::string_view text) {
        if (!at(text)) return false;
        advance();
        return true;
    }

    std::optional<PredicateNode> nodeOf(Item item, std::size_t position) {
        if (auto* node = std::get_if<PredicateNode>(&item)) return std::move(*node);
        return fail("a comparison is expected", position);
    }

    bool isTooDeep(int depth) { return isTooDeep(depth, token_.position); }

    bool isTooDeep(int depth, std::size_t position) {
        if (depth >= kMaximumDepth) fail("the nesting is too deep", position);
        return depth >= kMaximumDepth;
    }

    std::optional<Item> parseDisjunction(int depth) {
        return parseChain(depth, PredicateNode::Kind::disjunction, "OR", "||", &Parser::parseConjunction);
    }

    std::optional<Item> parseConjunction(int depth) {
        return parseChain(depth, PredicateNode::Kind::conjunction, "AND", "&&", &Parser::parseNegation);
    }

    std::optional<Item> parseChain(int depth, PredicateNode::Kind kind, std::string_view word, std::string_view symbol,
                                   Rule part) {
        PredicateNode chain = nodeOfKind(kind);
        while (true) {
            const std::size_t position = token_.position;
            auto item = (this->*part)(depth);
            const bool goesOn = at(word) || at(symbol);
            if (!item || (!goesOn && chain.children.empty())) return item;
            auto node = nodeOf(std::move(*item), position);
            if (!node) return std::nullopt;
            chain.children.push_back(std::move(*node));
            if (!goesOn) return chain;
            advance();
        }
    }

    std::optional<Item> parseNegation(int depth) {
        if (!at("NOT") && !at("!")) return parseComparison(depth);
        if (isTooDeep(depth)) return std::nullopt;
        advance();
        const std::size_t position = token_.position;
        auto item = parseNegation(depth + 1);
        auto node = item ? nodeOf(std::move(*item), position) : std::nullopt;
        if (!node) return std::nullopt;
        PredicateNode negation = nodeOfKind(PredicateNode::Kind::negation);
        negation.children.push_back(std::move(*node));
        return negation;
    }

    std::optional<Item> parseComparison(int depth) {
        if (take("TRUEPREDICATE")) return nodeOfKind(PredicateNode::Kind::alwaysTrue);
        if (take("FALSEPREDICATE")) return nodeOfKind(PredicateNode::Kind::alwaysFalse);
        PredicateNode node = nodeOfKind(PredicateNode::Kind::comparison);
        node.comparison.modifier = takeModifier();
        const bool isDirect = node.comparison.modifier == PredicateModifier::direct;
        const std::size_t position = token_.position;
        auto left = parseOperand(depth);
        if (!left) return std::nullopt;
        auto* expression = std::get_if<PredicateExpression>(&*left);
        if (!expression && !isDirect) return fail("a value is expected", position);
        const bool operatorFollows = expression && takeOperator(node.comparison.comparisonOperator);
        if (!operatorFollows && !isDirect) return unexpected();
        if (!operatorFollows) return left;
        node.comparison.left = std::move(*expression);
        if (!parseOptions(node.comparison.options) || !parseRight(node.comparison, depth)) return std::nullopt;
        return node;
    }

    PredicateModifier takeModifier() {
        if (take("ANY") || take("SOME")) return PredicateModifier::any;
        if (take("ALL")) return PredicateModifier::all;
        if (take("NONE")) return PredicateModifier::none;
        return PredicateModifier::direct;
    }

    bool takeOperator(PredicateOperator& value) {
        const auto* found =
            std::ranges::find_if(kPredicateOperators, [&](const auto& spelling) { return at(spelling.text); });
        if (found == kPredicateOperators.end()) return false;
        value = found->value;
        advance();
        return true;
    }

    bool parseOptions(PredicateOptions& options) {
        if (!take("[")) return true;
        if (token_.kind != Token::Kind::word) return unexpected(), false;
        for (const char letter : token_.source) {
            if (upper(letter) != 'C' && upper(letter) != 'D') return unexpected(), false;
            (upper(letter) == 'C' ? options.caseInsensitive : options.diacriticInsensitive) = true;
        }
        advance();
        return take("]") || (unexpected(), false);
    }

    bool parseRight(PredicateComparison& comparison, int depth) {
        const std::size_t position = token_.position;
        auto item = parseOperand(depth);
        if (!item) return false;
        auto* right = std::get_if<PredicateExpression>(&*item);
        if (!right) return fail("a value is expected", position), false;
        comparison.right = std::move(*right);
        return checkBounds(comparison, position) && compilePattern(comparison, position);
    }

    bool checkBounds(const PredicateComparison& comparison, std::size_t position) {
        if (comparison.comparisonOperator != PredicateOperator::between) return true;
        const auto& [kind, value, keyPath, elements] = comparison.right;
        const bool isConstant = kind == PredicateExpression::Kind::constant;
        if (isConstant || (kind == PredicateExpression::Kind::aggregate && elements.size() != 2))
            return fail("BETWEEN wants two bounds", position), false;
        return true;
    }

    bool compilePattern(PredicateComparison& comparison, std::size_t position) {
        if (comparison.comparisonOperator != PredicateOperator::matches || !comparison.right.value.isString())
            return true;
        comparison.pattern = compilePredicatePattern(comparison.right.value.string(), comparison.options);
        return comparison.pattern || (fail("the regular expression is not valid", position), false);
    }

    std::optional<Item> parseOperand(int depth) {
        if (!at("(")) {
            auto expression = parseExpression(depth);
            if (!expression) return std::nullopt;
            return std::move(*expression);
        }
        if (isTooDeep(depth)) return std::nullopt;
        advance();
        auto item = parseDisjunction(depth + 1);
        if (item && !take(")")) return unexpected();
        return item;
    }

    std::optional<PredicateExpression> parseExpression(int depth) {
        switch (token_.kind) {
            case Token::Kind::number:
                return takeConstant(token_.number);
            case Token::Kind::text:
                return takeConstant(token_.text);
            case Token::Kind::name:
                return takeName();
            case Token::Kind::word:
                return parseWord();
            case Token::Kind::substitution:
                return parseSubstitution(depth);
            default:
                return at("{") ? parseAggregate(depth) : unexpected();
        }
    }

    static PredicateExpression constant(Value value) {
        PredicateExpression expression;
        expression.value = std::move(value);
        return expression;
    }

    PredicateExpression takeConstant(Value value) {
        advance();
        return constant(std::move(value));
    }

    PredicateExpression takeName() {
        PredicateExpression expression;
        expression.kind = PredicateExpression::Kind::keyPath;
        expression.keyPath = std::move(token_.text);
        advance();
        return expression;
    }

    std::optional<PredicateExpression> parseWord() {
        if (at("YES") || at("TRUE")) return takeConstant(true);
        if (at("NO") || at("FALSE")) return takeConstant(false);
        if (at("NULL") || at("NIL")) return takeConstant({});
        if (isKeyword(token_.source) && !at("SELF"))
            return fail("\"" + std::string(token_.source) + "\" as a name must be written behind #", token_.position);
        const Token word = std::exchange(token_, lexer_.next());
        if (at("(")) return parseDate(word);
        return path(word.source, word.position);
    }

    /// The object itself, or a name relative to it.
    std::optional<PredicateExpression> path(std::string_view name, std::size_t position) {
        PredicateExpression expression;
        expression.kind =
            equalIgnoringCase(name, "SELF") ? PredicateExpression::Kind::self : PredicateExpression::Kind::keyPath;
        if (expression.kind == PredicateExpression::Kind::self) return expression;
        expression.keyPath = name.substr(startsWithSelf(name) ? 5 : 0);
        if (expression.keyPath.empty()) return fail("a name is expected", position);
        return expression;
    }

    std::optional<PredicateExpression> parseDate(const Token& word) {
        if (!equalIgnoringCase(word.source, "DATE"))
            return fail("\"" + std::string(word.source) + "\" is not a function", word.position);
        advance();
        if (token_.kind != Token::Kind::number) return unexpected();
        const NSDate date{token_.number.doubleValue()};
        advance();
        if (!take(")")) return unexpected();
        return constant(date);
    }

    std::optional<PredicateExpression> parseAggregate(int depth) {
        if (isTooDeep(depth)) return std::nullopt;
        advance();
        PredicateExpression aggregate;
        aggregate.kind = PredicateExpression::Kind::aggregate;
        if (take("}")) return aggregate;
        do {
            auto element = parseExpression(depth + 1);
            if (!element) return std::nullopt;
            aggregate.elements.push_back(std::move(*element));
        } while (take(","));
        if (!take("}")) return unexpected();
        return aggregate;
    }

    std::optional<PredicateExpression> parseSubstitution(int depth) {
        const Token token = std::exchange(token_, lexer_.next());
        if (token.source == "%%") return constant("%");
        if (used_ == arguments_.size())
            return fail("argument " + std::to_string(used_ + 1) + " is missing", token.position);
        const Value& argument = arguments_[used_++];
        if (token.source == "%@") return expressionOf(argument, depth, token.position);
        if (token.source == "%K") {
            if (argument.isString()) return path(argument.string(), token.position);
            return wrongArgument("a name", token.position);
        }
        if (!argument.isNumber()) return wrongArgument("a number", token.position);
        if (token.source == "%f") return expressionOf(argument.doubleValue(), depth, token.position);
        return constant(argument.integerValue());
    }

    std::nullopt_t wrongArgument(std::string_view wanted, std::size_t position) {
        return fail("argument " + std::to_string(used_) + " must be " + std::string(wanted), position);
    }

    /// Refuses what could not be written as text again.
    std::optional<PredicateExpression> expressionOf(const Value& value, int depth, std::size_t position) {
        if (value.isArray()) return aggregateOf(value.array(), depth, position);
        if (value.isData() || value.isDictionary())
            return wrongArgument("a number, a text, a date, an array or nothing", position);
        const double number = value.isDate() ? value.date().timeIntervalSince1970 : value.doubleValue();
        if (!value.isString() && !std::isfinite(number)) return wrongArgument("finite", position);
        return constant(value);
    }

    std::optional<PredicateExpression> aggregateOf(const Array& values, int depth, std::size_t position) {
        if (isTooDeep(depth, position)) return std::nullopt;
        PredicateExpression aggregate;
        aggregate.kind = PredicateExpression::Kind::aggregate;
        aggregate.elements.reserve(values.size());
        for (const Value& value : values) {
            auto element = expressionOf(value, depth + 1, position);
            if (!element) return std::nullopt;
            aggregate.elements.push_back(std::move(*element));
        }
        return aggregate;
    }

    Lexer lexer_;
    Token token_;
    std::span<const Value> arguments_;
    std::size_t used_ = 0;
    std::string& error_;
};

}  // namespace

std::optional<PredicateNode> parsePredicate(std::string_view format, std::span<const Value> arguments,
                                            std::string& error) {
    error.clear();
    return Parser(format, arguments, error).parse();
}

std::string predicateNameText(std::string_view keyPath) {
    if (nameLength(keyPath) != keyPath.size()) return "#" + predicateQuotedText(keyPath);
    const bool isReserved = isKeyword(keyPath) || startsWithSelf(keyPath);
    return (isReserved ? "#" : "") + std::string(keyPath);
}

std::string predicateQuotedText(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return quoted + '"';
}

}  // namespace tessaly
