def text(entries):
    return ""
