#!/usr/bin/env python3
"""Writes a made-up week of people counts over several channels, one report a line: a quarter hour of one channel each.

    examples/make_counts.py --until 2023-11-14 > week.jsonl

The same seed, time zone and options give the same reports.
"""

import argparse
import datetime
import json
import math
import random


class place:
    """How busy a place is: people a day, by weekday from Monday, and when they come and leave, as (hour, spread, part)."""

    def __init__(self, name, a_day, coming, leaving):
        self.name, self.a_day, self.coming, self.leaving = name, a_day, coming, leaving


PLACES = [
    place("office door", [420, 440, 430, 425, 340, 18, 9],
          [(8.5, 0.7, 0.75), (13.0, 0.4, 0.25)], [(12.2, 0.4, 0.25), (17.3, 1.0, 0.75)]),
    place("shop", [620, 590, 610, 680, 820, 1150, 0],
          [(11.0, 1.6, 0.45), (17.0, 1.7, 0.55)], [(11.6, 1.6, 0.45), (17.6, 1.6, 0.55)]),
    place("station stairs", [1500, 1540, 1550, 1530, 1490, 760, 540],
          [(7.7, 0.8, 0.45), (13.0, 3.5, 0.25), (17.5, 1.2, 0.30)],
          [(8.1, 0.9, 0.30), (13.0, 3.5, 0.25), (18.0, 1.2, 0.45)]),
    place("sports hall", [180, 240, 210, 250, 160, 330, 290],
          [(10.0, 1.5, 0.3), (18.3, 1.1, 0.7)], [(11.8, 1.5, 0.3), (20.4, 1.0, 0.7)]),
]


def density(curve, hour):
    return sum(part / spread / math.sqrt(2 * math.pi) * math.exp(-((hour - at) / spread) ** 2 / 2) for at, spread, part in curve)


def poisson(chance, mean):
    if mean > 30:  # the product below would take long
        return max(0, round(chance.gauss(mean, math.sqrt(mean))))
    limit, product, count = math.exp(-mean), chance.random(), 0
    while product > limit:
        product *= chance.random()
        count += 1
    return count


def report(seconds, channel, name, went_in, went_out):
    count = {"description": name, "people_count_in": went_in, "people_count_out": went_out,
             "position": [{"x": 0.5, "y": 0.0}, {"x": 0.5, "y": 1.0}]}
    return {"timestamp": int(seconds) * 1000, "appID": "made-up-counts", "appName": "made-up counts", "channel_sid": channel,
            "stream_id": 0, "results": [{"function_name": "PeopleCounting", "version": "1.0", "task_name": name,
                                         "objects": [[count]]}]}


def reports(until, seed, channels):
    chance = random.Random(seed)
    for day in (until - datetime.timedelta(days=back) for back in range(6, -1, -1)):
        mood = [chance.uniform(0.85, 1.15) for _ in range(channels)]  # weather and the like
        for quarter in range(96):
            at = datetime.datetime.combine(day, datetime.time(quarter // 4, quarter % 4 * 15))
            for index in range(channels):
                where = PLACES[index % len(PLACES)]
                people = where.a_day[day.weekday()] * mood[index] / 4
                hour = (quarter + 0.5) / 4
                went_in = poisson(chance, people * density(where.coming, hour))
                went_out = poisson(chance, people * density(where.leaving, hour))
                if went_in or went_out:
                    yield report(at.timestamp(), f"c0ffee00c0ffee00c0ffee00c0ff{0xee10 + index:04x}", where.name, went_in,
                                 went_out)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--until", type=datetime.date.fromisoformat, default=datetime.date.today(), metavar="YYYY-MM-DD",
                        help="the last day of the week, local; today unless given")
    parser.add_argument("--channels", type=int, choices=range(1, 101), default=len(PLACES), metavar="1..100",
                        help="how many, %(default)s unless given")
    parser.add_argument("--seed", type=int, default=1, help="of the chance in it, %(default)s unless given")
    options = parser.parse_args()
    for made in reports(options.until, options.seed, options.channels):
        print(json.dumps(made))


if __name__ == "__main__":
    main()
