"""What the texts of an entry have to be: complete in both languages, one spelling, short enough for a card."""

import re

import card_text

NAME_LIMIT = 80
DESCRIPTION_LINES = 2
# What ends a description, by the entry's effect. "now" needs no words.
WHEN = {
    "now": ("", ""),
    "explorer": ("After restarting Explorer.", "Après redémarrage de l’Explorateur."),
    "sign-out": ("After signing out.", "À la prochaine session."),
    "restart": ("After a restart.", "Après un redémarrage."),
}
# What a one-time action says, in its description or in its warning.
ONCE = (re.compile(r"Done once: nothing to undo\.|done once and can’t be undone\."),
        re.compile(r"Action unique : rien à annuler\.|action unique et irréversible\."))

FRENCH_WORDS = re.compile(r"\b(le|la|les|des|du|de|un|une|et|ne|est|sur|ce|vous|aux?|[ldn]’)(?=\b|\w)", re.I)
ENGLISH_WORDS = re.compile(
    r"\b(the|and|of|with|without|stops?|apps?|longer|disable|show|hide|this|after|nothing)\b", re.I)
BRITISH = re.compile(
    r"\b\w*(isation|ising|[^aeo]ise[ds]?|yse[ds]?|colour|favour|behaviour|labell|travell|cancell|licence|"
    r"programme|centre|dialogue|catalogue|advert(s|\b)|whilst|grey)\w*", re.I)
# Words that the pattern takes for British and that are none.
AMERICAN = re.compile(
    r"(advertising|precise|noise|raise|rise|wise|promise|exercise|enterprise|surprise|disguise|advise|revise)[ds]?$",
    re.I)
# French takes a no-break space here.
FRENCH_GAP = re.compile(r"[^\s\u00a0\u202f][;!?»]|[^\s\u00a0\u202f\w]:|\w:(?!\\)(?=\s)| [;:!?»%]|«(?![\u00a0\u202f])"
                        r"|\d (Go|Mo|Ko|To|ms|s|h|heures?|secondes?|minutes?)\b|\d%")


def check_text(findings, where, key, value):
    if not isinstance(value, str) or not value.strip():
        findings.add(where, "%s is missing or empty" % key)
        return False
    if value != value.strip() or "  " in value:
        findings.add(where, "%s has blanks too many" % key)
    if any(ord(c) < 32 for c in value):
        findings.add(where, "%s has a control character" % key)
    if "'" in value:
        findings.add(where, "%s has a straight apostrophe instead of ’" % key)
    return True


def check_english(findings, where, key, text):
    for word in BRITISH.finditer(text):
        if not AMERICAN.search(word.group()):
            findings.add(where, "%s spells %r the British way" % (key, word.group()))


def check_french(findings, where, key, text):
    english = ENGLISH_WORDS.search(text)
    if english:
        findings.add(where, "%s has the English word %r" % (key, english.group()))
    gap = FRENCH_GAP.search(text)
    if gap:
        findings.add(where, "%s lacks a no-break space at %r" % (key, gap.group()))


def check_pair(findings, where, entry, key):
    """A text of one or more sentences that stands there in both languages or in none."""
    french = key + "_fr"
    present = [k for k in (key, french) if k in entry]
    for k in present:
        if check_text(findings, where, k, entry[k]) and entry[k][-1] not in ".!":
            findings.add(where, "%s does not end with a full stop" % k)
    if len(present) == 1:
        findings.add(where, "has %s without its counterpart" % present[0])
    if len(present) < 2 or not all(isinstance(entry[k], str) for k in present):
        return
    check_english(findings, where, key, entry[key])
    check_french(findings, where, french, entry[french])
    if entry[key] == entry[french]:
        findings.add(where, "%s is the English text" % french)
    elif len(FRENCH_WORDS.findall(entry[french])) < 2:
        findings.add(where, "%s does not read as French" % french)


def check_names(findings, where, entry):
    for key in ("name", "name_fr"):
        if check_text(findings, where, key, entry.get(key)):
            if entry[key].endswith("."):
                findings.add(where, "%s ends with a full stop" % key)
            if len(entry[key]) > NAME_LIMIT:
                findings.add(where, "%s is too long for a card" % key)
            (check_french if key == "name_fr" else check_english)(findings, where, key, entry[key])
    if entry.get("name") and entry.get("name") == entry.get("name_fr"):
        findings.add(where, "name_fr is the English name")


def check_when(findings, where, entry):
    """The description says when the change shows, as the entry's effect says, and fits a card."""
    for index, key in enumerate(("description", "description_fr")):
        text = entry.get(key)
        if not isinstance(text, str):
            continue
        for effect, words in WHEN.items():
            if words[index] and text.endswith(words[index]) != (entry.get("effect") == effect):
                findings.add(where, "%s and the effect %r disagree on %r" % (key, entry.get("effect"), words[index]))
        if card_text.lines(text) > DESCRIPTION_LINES:
            findings.add(where, "%s takes %d lines of a card" % (key, card_text.lines(text)))


def check_once(findings, where, entry):
    once = entry.get("type") == "command" and not entry.get("revert")
    for suffix, pattern in zip(("", "_fr"), ONCE):
        texts = "%s %s" % (entry.get("description" + suffix, ""), entry.get("warning" + suffix, ""))
        if bool(pattern.search(texts.replace("\u00a0", " "))) != once:
            findings.add(where, "its texts%s %s that there is nothing to undo"
                         % (suffix, "don't say" if once else "say"))


def check_texts(findings, where, entry):
    check_names(findings, where, entry)
    for key in ("warning", "description"):
        check_pair(findings, where, entry, key)
    if ("warning" in entry) == ("description" in entry):
        findings.add(where, "needs either a warning or a description")
    check_when(findings, where, entry)
    check_once(findings, where, entry)
