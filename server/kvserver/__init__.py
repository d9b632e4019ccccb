# SPDX-License-Identifier: MIT
"""Reference server of the KvMess messaging module: account service,
file service and message server in one asyncio process."""
