"""The small changes that scripts/mutate makes to a C++ file: found in its tokens, so that comments,
preprocessor lines and the insides of names stay as they are."""

import collections
import re

# A line of the preprocessor is as good as a blank: it is another language.
TOKEN = re.compile(
    r"""(?P<blank>\s+|//[^\n]*|/\*.*?\*/|\#(?:\\\n|[^\n])*)
      | (?P<string>R"\(.*?\)"|"(?:\\.|[^"\\])*")
      | (?P<char>'(?:\\.|[^'\\])+')
      | (?P<number>\.?\d(?:[eEpP][+-]|'\w|[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|<<=|>>=|->\*|\.\.\.|::|->|<<|>>|[-+*/%&|^<>=!]=|&&|\|\||\+\+|--|.)""",
    re.VERBOSE | re.DOTALL)
# Between blanks alone: the formatter sets none around the brackets of a template or in front of the
# name of a reference.
BINARY = {"<": "<=", ">": ">=", "<=": "<", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
          "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "<<": ">>", ">>": "<<",
          "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min", "any_of": "all_of",
         "all_of": "any_of", "none_of": "any_of", "floor": "ceil", "ceil": "floor", "front": "back",
         "back": "front"}
NO_STATEMENT = set("""return using const constexpr auto static if for while switch case default break
    continue delete namespace template class struct enum typedef friend public private protected else
    do goto typename extern inline explicit virtual operator static_assert catch try""".split())
CLOSING = {"(": ")", "[": "]", "{": "}"}

Token = collections.namedtuple("Token", "kind text start end")
Mutant = collections.namedtuple("Mutant", "file start end text line before after")


class Source:
    """The tokens of one file, and the changes to make to them."""

    def __init__(self, file, text):
        self.file = file
        self.text = text
        self.tokens = [Token(match.lastgroup, match[0], *match.span())
                       for match in TOKEN.finditer(text) if match.lastgroup != "blank"]
        self.partner = self.pairs()
        self.mutants = set()

    def pairs(self):
        partner, open_ones = {}, []
        for i, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in CLOSING:
                open_ones.append(i)
            elif token.kind == "sign" and token.text in CLOSING.values() and open_ones:
                partner[open_ones[-1]] = i
                partner[i] = open_ones.pop()
        return partner

    def changes(self):
        for i, token in enumerate(self.tokens):
            if self.word(i - 1) != "operator":
                getattr(self, "change_" + token.kind)(i, token)
        for i in self.statements():
            self.change_statement(i)
        return sorted(self.mutants)

    def word(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def put(self, first, last, text):
        """The tokens from the first to the last give way to the text."""
        start, end = self.tokens[first].start, self.tokens[last].end
        begin, close = self.text.rfind("\n", 0, start) + 1, self.text.find("\n", end)
        before = self.text[begin:close]
        after = self.text[begin:start] + text + self.text[end:close]
        self.mutants.add(Mutant(self.file, start, end, text, self.text.count("\n", 0, start) + 1,
                                *(" ".join(each.split()) for each in (before, after))))

    def change_string(self, i, token):
        middle = (len(token.text) + token.text.startswith("R")) // 2
        middle += token.text[middle - 1] == "\\"
        self.put(i, i, token.text[:middle] + "~" + token.text[middle:])

    def change_char(self, i, token):
        if len(token.text) == 3:
            self.put(i, i, f"'{chr(ord(token.text[1]) + 1)}'")

    def change_number(self, i, token):
        parts = re.fullmatch(r"(0x[0-9a-f]+|\d+(?:\.\d*)?)(\w*)", token.text.replace("'", ""), re.I)
        if parts is None:
            return
        digits, suffix = parts.groups()
        if re.fullmatch(r"0[0-7]+", digits):
            changed = f"0{int(digits, 8) + 1:o}"
        elif "x" in digits:
            changed = hex(int(digits, 16) + 1)
        else:
            changed = str((float if "." in digits else int)(digits) + 1)
        self.put(i, i, changed + suffix)

    def change_sign(self, i, token):
        alone = self.text[token.start - 1].isspace() and self.text[token.end].isspace()
        if alone and token.text in BINARY:
            self.put(i, i, BINARY[token.text])
        elif token.text in ("++", "--"):
            self.put(i, i, "--" if token.text == "++" else "++")
        elif token.text == "?":
            self.put(i, i, "|| true ?")
            self.put(i, i, "&& false ?")
        elif token.text == "!" or token.text == "-" and not alone:
            self.put(i, i, "")

    def change_word(self, i, token):
        following = self.word(i + 1)
        if token.text in ("break", "continue", "return") and following == ";":
            self.put(i, i, "")
        elif token.text in ("if", "while") and following == "(":
            self.change_condition(i + 1, self.partner[i + 1])
        elif token.text == "return" and following != "{":
            end = self.end_of_statement(i)
            if end is not None and not self.is_nothing(self.tokens[i + 1:end]):
                self.put(i + 1, end - 1, "{}")
                if self.word(end - 1) == ")":  # what a function without a value returns
                    self.put(i + 1, end - 1, "")
        elif token.text in ("true", "false") or token.text in WORDS and following in ("(", "<"):
            self.put(i, i, WORDS[token.text])

    @staticmethod
    def is_nothing(tokens):
        """What `{}` would say as well."""
        return tokens[-1].text == "nullopt" or len(tokens) == 1 and tokens[0].text in (
            "false", "true", "nullptr", "0")

    def change_condition(self, opening, closing):
        inner = self.flat(opening + 1, closing)
        first = next((i + 1 for i in inner if self.word(i) == ";"), opening + 1)
        signs = {self.word(i) for i in inner if i >= first}
        if "=" in signs:
            # What is declared serves as the condition.
            name = next(i for i in inner if i >= first and self.word(i) == "=") - 1
            if self.tokens[name].kind == "word":
                self.put(closing, closing, f"; !{self.word(name)})")
        elif signs & {"&&", "||"} or not signs & {"==", "!="} and self.word(first) != "!":
            begin, end = self.tokens[first].start, self.tokens[closing].start
            self.put(first, closing, f"!({self.text[begin:end]}))")

    def flat(self, first, last):
        """The tokens of a stretch without what stands in brackets of its own."""
        found = []
        while first < last:
            found.append(first)
            first = self.partner.get(first, first) + 1
        return found

    def end_of_statement(self, i):
        """Where the semicolon stands; none when the brackets around end first."""
        while i < len(self.tokens) and self.word(i) != ";":
            if self.partner.get(i, i) < i:
                return None
            i = self.partner.get(i, i) + 1
        return i if i < len(self.tokens) else None

    def statements(self):
        """Where statements may begin: in bodies, not among the members of a class."""
        scopes = []
        for i in range(len(self.tokens)):
            if self.word(i) == "{":
                scopes.append(self.is_body(i))
            elif self.word(i) == "}" and scopes:
                scopes.pop()
            begins = self.word(i) in ("{", "}", ";", "else") or self.ends_head(i)
            if scopes and scopes[-1] and begins and self.word(i + 1) != "{":
                yield i + 1

    def is_body(self, opening):
        head = []
        while opening > 0 and self.word(opening - 1) not in (";", "{", "}"):
            opening -= 1
            head.append(self.word(opening))
        return "(" in head or not {"class", "struct", "enum", "namespace", "union"} & set(head)

    def ends_head(self, i):
        return self.word(i) == ")" and i in self.partner and self.word(self.partner[i] - 1) in (
            "if", "while", "for")

    def change_statement(self, i):
        """Drops a call, an assignment or a throw; a declaration is none of them."""
        end = self.end_of_statement(i)
        if end is None or end <= i + 1 or self.word(i) in NO_STATEMENT:
            return
        parts = self.flat(i, end)
        signs = {self.word(n) for n in parts}
        head = next((n for n in parts if self.word(n) in ("(", "[", "=", "<", "{")), end)
        declares = self.word(i) != "throw" and any(
            self.tokens[n].kind == "word"
            and (self.tokens[n - 1].kind == "word" or self.word(n - 1) in ("&", "*", ">"))
            for n in range(i + 1, min(head + 1, end)))
        acts = signs & {"(", "=", "+=", "-=", "|=", "&=", "++", "--", "throw"}
        acts = acts and not signs & {"reserve"}  # room made in advance is no rule
        if acts and not declares and self.word(head) != "<":
            self.put(i, end, ";")


def mutants_of(file, text):
    """Every change to a file, in the order of the text."""
    return Source(file, text).changes()
