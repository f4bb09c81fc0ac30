"""The switch's scrape endpoint, read by curl and held against the rules of the text form."""
import re
import subprocess

from prometheus_client.parser import text_string_to_metric_families

SAMPLE = re.compile(r'^([a-zA-Z_:][a-zA-Z0-9_:]*)(\{.*\})? [-+0-9.eE]+$')


def scrape(path):
    """All samples, by name and sorted labels; an error when the text breaks a rule."""
    done = subprocess.run(["curl", "--silent", "--show-error", "--fail", "--max-time", "10", "--unix-socket", path,
                           "http://localhost/metrics"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"curl: {done.stderr.decode().strip()}")
    return checked(done.stdout.decode("ascii"))


def checked(text):
    """The samples of a text. Each name is told of once, with help and type before its samples, which follow one
    another; series are unique; what counts, and nothing else, is called `_total`."""
    if not text.endswith("\n"):
        raise ValueError("the last line has no end")
    told, typed, current = set(), {}, None
    for line in text.splitlines():
        kind, name, *rest = line.split(" ", 3)[1:] if line.startswith("# ") else ("", "", "")
        if kind == "HELP":
            if name in told or not rest or not rest[0]:
                raise ValueError(f"{name} is told of twice, or without a word")
            told.add(name)
        elif kind == "TYPE":
            if name not in told or name in typed or rest[0] not in ("counter", "gauge"):
                raise ValueError(f"not a type: {line}")
            if (rest[0] == "counter") != name.endswith("_total"):
                raise ValueError(f"{name} is no {rest[0]}'s name")
            typed[name] = rest[0]
            current = name
        else:
            found = SAMPLE.match(line)
            if found is None or found[1] != current:
                raise ValueError(f"not a sample of {current}: {line}")
    samples = {}
    for family in text_string_to_metric_families(text):
        for sample in family.samples:
            key = (sample.name, tuple(sorted(sample.labels.items())))
            if key in samples:
                raise ValueError(f"twice: {key}")
            if sample.value < 0 or (typed[sample.name] == "counter" and family.type != "counter"):
                raise ValueError(f"not a value of a {typed[sample.name]}: {sample}")
            samples[key] = sample.value
    return samples


def key(name, **labels):
    return name, tuple(sorted(labels.items()))
