# SPDX-License-Identifier: Apache-2.0
"""The independent protocol stack: what is used of scapy, which is not to look for IPv6 on this computer."""
# pylint: disable=unused-import,wrong-import-position
from scapy.config import conf

conf.ipv6_enabled = False
from scapy.contrib.automotive.doip import DoIP  # noqa: E402,F401
from scapy.contrib.automotive.someip import SD, SOMEIP, SDEntry_Service, SDOption_IP4_EndPoint  # noqa: E402,F401
from scapy.packet import Raw  # noqa: E402,F401
