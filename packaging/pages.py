#!/usr/bin/env python3
"""Makes the reference of kura(1) and the shells' completions, from what `kura --help --json` says.

    pages.py man COMMANDS PAGE         the page, its comments @VERBS@ and @OPTIONS@ replaced
    pages.py bash|fish|zsh COMMANDS    the completion
"""
import json
import re
import sys
import textwrap


def leaves(command, path=()):
    """Every verb that does something, with its path, in the order of --help."""
    for verb in command["commands"]:
        here = path + (verb["name"],)
        if verb["commands"]:
            yield from leaves(verb, here)
        else:
            yield here, verb


def nodes(command, path=()):
    """The command itself and all verbs below it, with their paths."""
    yield path, command
    for verb in command["commands"]:
        yield from nodes(verb, path + (verb["name"],))


# --- man: the page is in mdoc(7), and so is what goes into it ---


RANGE = re.compile(r"(\w+) in \[(\S+) - (\S+)\]")


def value_name(option):
    return "|".join(option["choices"]) if option["choices"] else RANGE.sub(r"\1", option["value"])


def flag(name):
    return f'Fl {name[1:].replace("-", chr(92) + "-")}'


def literal(text):
    """One argument of a macro; never taken for a macro itself."""
    return '"' + chr(92) + "&" + text.replace(chr(92), chr(92) + "e").replace('"', '""') + '"'


def option_head(option):
    head = " , ".join(flag(name) for name in option["names"])
    return f"{head} Ar {literal(value_name(option))}" if option["value"] else head


def argument_head(argument):
    head = f"Ar {argument['name'].upper()}" + (" ..." if argument["repeatable"] else "")
    return head if argument["required"] else f"Oo {head} Oc"


def sentences(text):
    """Lines of the page: one sentence or a part of it each, none that looks like a macro."""
    lines = []
    for line in text.replace(chr(92), chr(92) + "e").replace("--", r"\-\-").split("\n"):
        lines.append(".br")
        for sentence in re.split(r"(?<=[.!?]) +", line):
            lines += textwrap.wrap(sentence, 78, break_on_hyphens=False)
    return "".join((line if line == ".br" else re.sub(r"^([.'])", r"\\&\1", line)) + "\n" for line in lines[1:])


def described(entry):
    notes = [f"{bounds[2]} to {bounds[3]}" for bounds in [RANGE.fullmatch(entry["value"])] if bounds]
    notes += [f"default: {entry['default']}"] if entry["default"] else []
    return sentences(entry["description"] + (f" ({'; '.join(notes)})" if notes else ""))


def item_list(items):
    items = "".join(items)
    return f".Bl -tag -width Ds\n{items}.El\n" if items else ""


def option_items(command):
    return [f".It {option_head(option)}\n{described(option)}" for option in command["options"]]


def verb_item(path, verb):
    heads = [argument_head(argument) for argument in verb["arguments"]]
    heads += [f"Oo {option_head(option)} Oc" for option in verb["options"]]
    own = [f".It Ar {argument['name'].upper()}\n{described(argument)}" for argument in verb["arguments"]]
    return (f".It Cm {' '.join(path)} {' '.join(heads)}".rstrip()
            + f"\n{sentences(verb['description'] + '.')}" + item_list(own + option_items(verb)))


def command_part(command, what):
    if what == "VERBS":
        return item_list(verb_item(path, verb) for path, verb in leaves(command))
    return item_list(option_items(command))


def man(command, page):
    with open(page, encoding="utf-8") as file:
        for line in file:
            marked = re.fullmatch(r'\.\\" @(.*)@\n', line)
            sys.stdout.write(command_part(command, marked[1]) if marked else line)


# --- Completions ---


ASKED = {"ISSUE", "APP", "KEY", "FUNCTION", "RUN", "KIND", "RULE", "COLUMN", "LIST", "SNAPSHOT", "LANGUAGE"}


def kind_of(entry):
    """What to offer for a value: words, what the command tells of the current set, sets, folders, files, or nothing."""
    if entry["choices"]:
        return " ".join(entry["choices"])
    if entry["value"] in ASKED:
        return "@ask-" + entry["value"].lower()
    if entry.get("names") == ["--set"]:
        return "@set"
    return {"DIR": "@folder", "FILE": "@file"}.get(entry["value"], "@any")


def argument_kind(verb):
    """What to offer for the arguments of a verb: what is known of the first of them."""
    kinds = [kind_of(argument) for argument in verb["arguments"]]
    return next((kind for kind in kinds if kind != "@any"), "@any")


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


BASH = r"""# bash completion for kura, made from the command's own description of its verbs

# Offers the lines that begin as the current word does. Not compgen -W: it would run what a set has in its names.
_kura_offer() {
    local word
    while IFS= read -r word; do
        [[ -z $word || $word != "$current"* ]] || COMPREPLY+=("$(printf %%q "$word")")
    done
}

_kura() {
    local -A verbs=(
%(verbs)s
    )
    local -A options=(
%(options)s
    )
    # What follows an option that takes a value, and, under the verb alone, what its arguments are.
    local -A values=(
%(values)s
    )
    local current=${COMP_WORDS[COMP_CWORD]} path= pending= word i
    local -a set=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ ${COMP_WORDS[i - 1]} != --set ]] || set=(--set "$word")
        if [[ -n $pending ]]; then
            pending=
        elif [[ $word == -* ]]; then
            pending=${values["$path $word"]-${values[" $word"]-}}
        elif [[ -v verbs[$path.] && " ${verbs[$path.]} " == *" $word "* ]]; then
            path=${path:+$path }$word
        fi
    done

    local offered=$pending
    if [[ -z $offered && $current == -* ]]; then
        offered="${options[$path.]-} ${options[.]}"
    elif [[ -z $offered ]]; then
        offered=${verbs[$path.]-${values[$path.]-}}
    fi
    COMPREPLY=()
    case $offered in
        @set | @folder) mapfile -t COMPREPLY < <(compgen -d -- "$current") && compopt -o filenames 2>/dev/null ;;
        @file) mapfile -t COMPREPLY < <(compgen -f -- "$current") && compopt -o filenames 2>/dev/null ;;
    esac
    case $offered in
        @set) _kura_offer < <("${COMP_WORDS[0]}" complete set 2>/dev/null) ;;
        @ask-*) _kura_offer < <("${COMP_WORDS[0]}" "${set[@]}" complete "${offered#@ask-}" $path 2>/dev/null) ;;
        @*) ;;
        *) _kura_offer < <(printf '%%s\n' $offered) ;;
    esac
}
complete -F _kura kura
"""


def bash_array(entries):
    return "\n".join(f"        [{quoted(key)}]={quoted(value)}" for key, value in entries)


def bash(command):
    verbs, options, values = [], [], []
    for path, verb in nodes(command):
        key = " ".join(path)
        if verb["commands"]:
            verbs.append((key + ".", " ".join(below["name"] for below in verb["commands"])))
        names = [name for option in verb["options"] for name in option["names"]]
        options.append((key + ".", " ".join(names)))
        for option in verb["options"]:
            if option["value"]:
                values += [(f"{key} {name}", kind_of(option)) for name in option["names"]]
        if verb["arguments"]:
            values.append((key + ".", argument_kind(verb)))
    sys.stdout.write(BASH % {"verbs": bash_array(verbs), "options": bash_array(options), "values": bash_array(values)})


ZSH_ASK = r"""# What the command tells of the set that the line names, or of the default one.
_kura_ask() {
    local -a line=("${(@Q)${(z)BUFFER}}") set found
    integer at=${line[(I)--set]}
    (( at )) && set=(--set $line[at+1])
    found=(${(f)"$(_call_program words ${(q)line[1]:-kura} ${(q)set} complete $@ 2>/dev/null)"})
    compadd -a found
}

_kura_sets() {
    _kura_ask set
    _files -/
}
"""


def zsh_text(text):
    return re.sub(r"([\\\[\]:])", r"\\\1", text.split("\n")[0])


def zsh_action(entry, path):
    kind = kind_of(entry)
    if kind.startswith("@ask-"):
        return " _kura_ask " + " ".join((kind[len("@ask-"):],) + path)
    return {"@set": "_kura_sets", "@folder": "_files -/", "@file": "_files", "@any": " "}.get(kind, f"({kind})")


def zsh_option(option, path):
    value = f":{zsh_text(value_name(option))}:{zsh_action(option, path)}" if option["value"] else ""
    return [quoted(f"{name}[{zsh_text(option['description'])}]{value}") for name in option["names"]]


def zsh_argument(argument, path):
    start = "*" if argument["repeatable"] else "" if argument["required"] else ":"
    return quoted(f"{start}:{zsh_text(argument['name'])}:{zsh_action(argument, path)}")


def zsh_function(path, verb, above):
    shared = [entry for option in above for entry in zsh_option(option, path)]
    lines = ["_" + "_".join(("kura",) + path).replace("-", "_") + "() {"]
    entries = shared + [entry for option in verb["options"] for entry in zsh_option(option, path)]
    if not verb["commands"]:
        entries += [zsh_argument(argument, path) for argument in verb["arguments"]]
        return "\n".join(lines + ["    _arguments \\"] + [f"        {entry} \\" for entry in entries[:-1]]
                         + [f"        {entries[-1]}", "}", ""])
    lines += ["    local state line", "    typeset -A opt_args", "    _arguments -C \\"]
    lines += [f"        {entry} \\" for entry in entries] + ["        '1:verb:->verb' '*::argument:->rest'"]
    lines += ["    case $state in", "        verb)", "            local -a verbs=("]
    lines += ["                " + quoted(f"{below['name']}:{zsh_text(below['description'])}")
              for below in verb["commands"]]
    lines += ["            )", "            _describe verb verbs", "            ;;", "        rest)",
              "            case $words[1] in"]
    for below in verb["commands"]:
        function = "_" + "_".join(("kura",) + path + (below["name"],)).replace("-", "_")
        lines.append(f"                {below['name']}) {function} ;;")
    return "\n".join(lines + ["            esac", "            ;;", "    esac", "}", ""])


def zsh(command):
    print("#compdef kura\n# zsh completion for kura, made from the command's own description of its verbs\n")
    for path, verb in nodes(command):
        print(zsh_function(path, verb, command["options"] if path else []))
    print(ZSH_ASK)
    print('_kura "$@"')


FISH = r"""# fish completion for kura, made from the command's own description of its verbs

set -g __kura_verbs %(verbs)s
set -g __kura_valued %(valued)s

# The verb that the line names so far.
function __kura_verb
    set -l path
    set -l pending
    for word in (commandline -opc)[2..]
        if set -q pending[1]
            set -e pending
        else if contains -- $word $__kura_valued
            set pending $word
        else if contains -- (string join ' ' $path $word) $__kura_verbs
            set -a path $word
        end
    end
    string join ' ' $path
end

function __kura_at
    test "$(__kura_verb)" = "$argv"
end

# What the command tells of the set that the line names, or of the default one.
function __kura_ask
    set -l words (commandline -opc)
    set -l named
    set -l at (contains -i -- --set $words)
    and test (count $words) -gt $at
    and set named --set $words[(math $at + 1)]
    $words[1] $named complete $argv (string split -n ' ' -- "$(__kura_verb)") 2>/dev/null
end

complete -c kura -f
%(entries)s
"""


def fish_text(text):
    return quoted(text.replace(chr(92), chr(92) * 2)).replace("'" + chr(92) + "''", chr(92) + "'")


def fish_offer(kind):
    """The options of fish's complete that offer a kind of value."""
    if kind.startswith("@ask-"):
        return f"-a '(__kura_ask {kind[len('@ask-'):]})'"
    folders = "__fish_complete_directories"
    return {"@set": f"-a '(__kura_ask set; {folders})'", "@folder": f"-a '({folders})'", "@file": "-F",
            "@any": ""}.get(kind, f"-a {fish_text(kind)}")


def fish_option(option):
    names = " ".join(f"-l {name[2:]}" if name.startswith("--") else f"-s {name[1:]}" for name in option["names"])
    kind = kind_of(option)
    value = f" -{'r' if kind == '@file' else 'x'} {fish_offer(kind)}".rstrip() if option["value"] else ""
    return f"{names}{value} -d {fish_text(option['description'].splitlines()[0])}"


def fish(command):
    entries, valued = [], set()
    for path, verb in nodes(command):
        at = f"complete -c kura -n {fish_text('__kura_at ' + ' '.join(path))} "
        entries += [f"{at}-a {below['name']} -d {fish_text(below['description'])}" for below in verb["commands"]]
        # The options of the command itself hold everywhere.
        entries += [(at if path else "complete -c kura ") + fish_option(option) for option in verb["options"]]
        if argument_kind(verb) != "@any":
            entries.append(at + fish_offer(argument_kind(verb)))
        valued |= {name for option in verb["options"] if option["value"] for name in option["names"]}
    verbs = " ".join(fish_text(" ".join(path)) for path, _ in nodes(command) if path)
    sys.stdout.write(FISH % {"verbs": verbs, "valued": " ".join(sorted(valued)), "entries": "\n".join(entries)})


def main():
    with open(sys.argv[2], encoding="utf-8") as file:
        command = json.load(file)
    if sys.argv[1] == "man":
        man(command, sys.argv[3])
    else:
        {"bash": bash, "fish": fish, "zsh": zsh}[sys.argv[1]](command)


if __name__ == "__main__":
    main()
