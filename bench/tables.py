"""What bench/run measured, as the tables of docs/benchmarks.md."""

MARKS = {part: (f"<!-- {part}, measured by bench/run -->\n", f"<!-- end of {part} -->\n")
         for part in ("servers", "servers6", "relay", "relay6", "snooping", "ratios")}


def of_parts(measured):
    """Part -> its table, for the parts that were measured."""
    texts = {part: SHAPES[part](rows) for part, rows in measured.items() if part in SHAPES}
    if "servers" in texts:
        echo = measured["echo"]
        texts["servers"] += (f"\nBare echo of a DISCOVER, 32 under way: {echo['per_second']:,.0f} frames/s, "
                             f"{echo['cpu_ms_per_1000']:.1f} ms of the reflector's CPU per 1,000.\n")
    rows = ratios(measured)
    if rows:
        texts["ratios"] = rows
    return texts


def grid(titles, rows):
    return "".join("| " + " | ".join(cells) + " |\n" for cells in (titles, ["---"] * len(titles), *rows)).replace(
        "| " + " | ".join(["---"] * len(titles)) + " |", "|" + "---|" * len(titles), 1)


def load(row):
    """Exchanges, processor time and drops."""
    windowed = row["windowed"]
    return [f"{windowed['per_second']:,.0f}", f"{windowed['cpu_ms_per_1000']:.1f}", f"{windowed['drop_percent']:.2f} %"]


def memory(row):
    return f"{row['memory']['VmRSS'] / 1024:.1f} ({row['memory']['VmHWM'] / 1024:.1f}) MiB"


def latency(row):
    return f"{row['paced']['latency_us']['median']:.0f} / {row['paced']['latency_us']['p99']:.0f} µs"


LOAD = ["exchanges/s", "CPU ms per 1,000", "drops"]


def servers(rows):
    return grid(["server", *LOAD, "latency at 200/s: median / p99", "resident (peak)", "perfdhcp: exchanges/s", *LOAD[1:]],
                [[row["name"], *load(row), latency(row), memory(row), *load({"windowed": row["perfdhcp"]})]
                 for row in rows])


def servers6(rows):
    return grid(["server", *LOAD, "latency at 200/s: median / p99", "resident (peak)"],
                [[row["name"], *load(row), latency(row), memory(row)] for row in rows])


def relays(rows):
    return grid(["relay", *LOAD, "resident (peak)"], [[row["name"], *load(row), memory(row)] for row in rows])


def snooping(rows):
    plain = rows[0]["windowed"]["per_second"]
    return grid(["snooping", LOAD[0], "of those without", *LOAD[1:], "resident (peak)"],
                [[row["name"], load(row)[0], f"{100 * row['windowed']['per_second'] / plain:.0f} %", *load(row)[1:],
                  memory(row)] for row in rows])


SHAPES = {"servers": servers, "servers6": servers6, "relay": relays, "relay6": relays, "snooping": snooping}
NAMES = {"servers": "DHCP server", "servers6": "DHCPv6 server", "relay": "DHCP relay", "relay6": "DHCPv6 relay"}
ECHOES = {"servers": 2, "servers6": 2, "relay": 4, "relay6": 4}  # frames in and out again that an exchange takes


def ratios(measured):
    """The soft switch beside the best that stood beside it, one row a part."""
    rows = []
    for part, name in NAMES.items():
        ours, *others = measured.get(part, [None])
        if others:
            rows.append([name, *against(ours, others), *against_echo(ours, measured["echo"], ECHOES[part])])
    return rows and grid(["", "exchanges/s, the best of the others = 1", "CPU per exchange, the least of the others = 1",
                          "resident, the smallest of the others = 1", "exchanges/s, what the bare echo allows = 1",
                          "the module's share of the switch's CPU"], rows)


def against(ours, others):
    fastest = max(row["windowed"]["per_second"] for row in others)
    cheapest = min(row["windowed"]["cpu_ms_per_1000"] for row in others)
    smallest = min(row["memory"]["VmRSS"] for row in others)
    return [f"{ours['windowed']['per_second'] / fastest:.1f}", f"{ours['windowed']['cpu_ms_per_1000'] / cheapest:.2f}",
            f"{ours['memory']['VmRSS'] / smallest:.1f}"]


def against_echo(ours, echo, echoes):
    share = ours["library"]
    return [f"{ours['windowed']['per_second'] * echoes / echo['per_second']:.2f}",
            "not sampled" if share is None else f"{share:.0f} %"]


def write_into(page, texts):
    """Each table between its own marks; the others stay."""
    content = page.read()
    for part, text in texts.items():
        begin, end = MARKS[part]
        content = content.split(begin)[0] + begin + text + end + content.split(end)[-1]
    page.seek(0)
    page.truncate()
    page.write(content)
    page.close()
