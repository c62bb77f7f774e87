"""What a row says to its callers, in the pieces that the header comment and the manual page are made of."""

from dataclasses import dataclass


@dataclass
class Documentation:
    arguments: list  # of (name, what it is)
    result: str  # sentence or ""
    owner: str
    answers: list  # sentences about arguments that give the failure value
    failures: list  # "identifier when ...", "out of memory"
    failure: str  # the value that stands for a failure
    notes: str


def describe(table, row):
    checks = dict.fromkeys(check for form in row.forms if form.built for check in row.checks_of(form))
    answers, failures = [], []
    for check in checks:
        words = table.checks[check]
        if "answers" in words:
            answers.append(words["answers"].format(failure=row.failure))
        failures += [sentence.format(failure=row.failure) for sentence in words.get("says", [])]
    owner = table.owners[row.owner] if row.owner else ""
    if row.consumes:
        owner = " ".join([owner, *(f"The caller's ownership of {name} ends." for name in row.consumes)]).strip()
    result = f"Returns {row.returns}." if row.returns else ""
    arguments = [(a.name, row.args[a.name]) for a in row.signature.arguments]
    return Documentation(arguments, result, owner, answers, failures, row.failure, row.notes)
