#!/usr/bin/env python3
"""A capture as a table of pandas: a row for each message, with its time, its direction, and some of its values.
Usage: table.py CAPTURE"""
import sys

import pandas

import velnor3gpp

# Columns, and the paths of their values; what a message does not have is empty.
COLUMNS = {
    "imsi": ["data.IdentResp.imsi", "data.AttachRequest.oldGUTIOrIMSI.imsi"],
    "asks for": ["data.IdentReq.identType.typeOfIdent$name"],
}


def row(message):
    values = {"frame": message.frame.number, "time": message.frame.time, "dir": message.dir, "name": message.name}
    values.update(octets=len(message.octets), status=message.status)
    for column, paths in COLUMNS.items():
        values[column] = next((found for found in map(message.at, paths) if found is not None), None)
    return values


def table(path):
    made = pandas.DataFrame(map(row, velnor3gpp.iterdecode(velnor3gpp.Capture(path), names=True))).set_index("frame")
    made["time"] = pandas.to_datetime(made["time"], utc=True)
    return made


if __name__ == "__main__":
    messages = table(sys.argv[1])
    print(messages.drop(columns="time").fillna("").to_string())
    print(messages.groupby(["dir", "name"]).octets.agg(["count", "sum"]).to_string())
    print("seconds between them:", messages.time.diff().dt.total_seconds().dropna().tolist())
