"""Wine's own words among the output of a program."""

import re


def without_wine(text):
    """A program's output less what Wine says of threads that a process leaves behind. The line may be cut
    off, as they are."""
    return re.sub(r"^wine client error:.*(\n|\Z)", "", text, flags=re.MULTILINE)
