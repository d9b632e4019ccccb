#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Runs the KvMess reference server: account, file and message services."""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from kvserver.main import main  # noqa: E402

if __name__ == "__main__":
    sys.exit(main())
