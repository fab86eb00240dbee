# SPDX-License-Identifier: Apache-2.0
"""What is said between testers, the diagnostic manager, and the services that it reads: see conversation.py."""

VIN = "FLASHWATCH0000001"
VEHICLE = f"vehicle {VIN} 1001 020000000001 020000000002"
NOBODY = "udp awaits 02FD400100000000 status 1 0/"
ENTRY = "".join(f"{value:016X}" for value in (0x1234, 8388608, 1 << 53, 4096))
TEXTS = {"VEHICLE": VEHICLE, "VIN": VIN.encode().hex().upper(), "OTHER": "46" * 17, "ENTRY": ENTRY,
         "ZEROS": "00" * 257, "LONG": "1234" * 20, "LONGREPORT": "00" * 1920, "LONGESTREPORT": "00" * 1996,
         "BURST": "02FD8001000000070E81100122F190" * 60, "MORE": "02FD400300000000; udp hears power 1",
         "ALIVE": "1 asks 3E00 7E00", "ASKED": "1 joins; 2 opens; 2 is 0E81; 2 activates; 1 hears alive?",
         "CROWDED": "1 joins; 2 joins; 3 opens; 3 activates; 1 hears alive?; 2 hears alive?"}

# Each row begins with all services answering and no tester there.
ROWS = {
    # Datagrams
    "discovery": """udp sends 02FD000100000000; udp hears {VEHICLE}; udp sends FF00000100000000; udp hears {VEHICLE}
        ; udp sends 03FC000100000000; udp hears v3 {VEHICLE}
        ; udp sends 02FD000200000006020000000001; udp hears {VEHICLE}
        ; udp sends 02FD000200000006020000000009; udp sends 02FD0003 00000011{VIN}; udp hears {VEHICLE}
        ; udp sends 02FD0003 00000011{OTHER}; udp sends {MORE}""",
    "two messages in one datagram": """udp sends 02FD400300000000 02FD400100000000; udp hears power 1
        ; udp hears status 1 0/2 256""",
    "a datagram of many messages": "udp sends" + " 02FD400300000000" * 5 + "; udp hears power 1" * 4
                                   + "; udp sends 02FD400100000000; udp hears status 1 0/2 256",
    "lying datagrams": """udp sends 02FD000200000007020000000001; udp hears header nack 04
        ; udp sends 02FD000100000001 00; udp hears header nack 04
        ; udp sends 02FD00030000001100; udp hears header nack 04
        ; udp sends 02FD4001FFFFFFFF; udp hears header nack 02; udp sends 02FE400100000000; udp hears header nack 00
        ; udp sends 01FE400100000000; udp hears header nack 00; udp sends 02FD999900000000; udp hears header nack 01
        ; udp sends 02FD000500000000; udp hears header nack 01; udp sends 02FD00; udp sends 02FD0004 00000000
        ; udp sends 02FD00000000000100; udp sends {MORE}""",
    # Routing activation
    "first and last tester": """1 opens; 1 is 0E00; 1 activates; 1 hears routing 0E00 10; 2 opens; 2 is 0FFF
        ; 2 activates; 2 hears routing 0FFF 10""",
    "unknown testers": """1 opens; 1 is 0DFF; 1 activates; 1 hears routing 0DFF 00; 1 hears closed; 2 opens; 2 is 1000
        ; 2 activates E0; 2 hears routing 1000 00; 2 hears closed""",
    "unsupported type": "1 opens; 1 activates E0; 1 hears routing 0E81 06; 1 hears closed",
    "TLS wanted": "1 opens; 1 activates 2; 1 hears routing 0E81 07; 1 hears closed",
    "rejected": "1 opens; 1 activates 3; 1 hears routing 0E81 05; 1 hears closed",
    "authentication wanted": """1 opens; 1 activates 1; 1 hears routing 0E81 04; 1 activates; 1 hears routing 0E81 10
        ; 2 opens; 2 activates 1; 2 hears routing 0E82 04; 2 hears closed after 700""",
    "confirmation": """2 opens; 2 activates 4; 2 hears routing 0E82 11; 3 opens; 3 hears closed after 800
        ; 2 asks 3E00 7E00; 1 opens; 1 activates 4; 1 hears routing 0E81 11; 1 asks 3E00
        ; 1 hears nack 1001 0E81 02; 1 hears closed""",
    "again, and another address on the socket": """1 joins; 1 activates; 1 hears routing 0E81 10; 1 is 0E89
        ; 1 activates; 1 hears routing 0E89 02; 1 hears closed""",
    "the same address, alive": "{ASKED}; 1 is alive; 2 hears routing 0E81 03; 2 hears closed; 1 reads F186 62F18601",
    "the same address, silent": """{ASKED}; 1 hears closed after 400; 2 hears routing 0E81 10; 2 reads F186 62F18601""",
    "the same address, alive as somebody else": """{ASKED}; 1 is 0E80; 1 is alive; 1 hears closed
        ; 2 hears routing 0E81 10""",
    "the same address, vanished": "1 joins; 1 breaks off; 2 opens; 2 is 0E81; 2 activates; 2 hears routing 0E81 10",
    "the same address, vanishes when asked": "{ASKED}; 1 breaks off; 2 hears routing 0E81 10",
    "the same address, three times": """{ASKED}; 3 opens; 3 is 0E81; 3 activates; 1 hears closed
        ; 2 hears routing 0E81 10; 2 hears alive?; 2 is alive; 3 hears routing 0E81 03; 3 hears closed""",
    "one tester too many": """{CROWDED}; 1 is alive; 2 is alive; 3 hears routing 0E83 01; 3 hears closed
        ; 1 reads F186 62F18601; 2 reads F186 62F18601""",
    "room by an alive check": """{CROWDED}; 2 is alive; 1 hears closed; 3 hears routing 0E83 10
        ; 2 reads F186 62F18601""",
    "beyond the reserve socket": "1 joins; 2 joins; 3 opens; 4 opens; 4 hears closed; 1 reads F186 62F18601",
    "initial inactivity": "1 opens; 1 hears closed after 800; 2 opens; 2 sends 02FD0005; 2 hears closed",
    "general inactivity": """1 joins; 2 opens; 2 hears closed after 800; {ALIVE}; 1 hears closed after 2500""",
    # Messages on a connection
    "diagnosis before activation": "1 opens; 1 asks 3E00; 1 hears nack 1001 0E81 02; 1 hears closed",
    "diagnosis as somebody else": "1 joins; 1 is 0E89; 1 asks 3E00; 1 hears nack 1001 0E89 02; 1 hears closed",
    "unknown target, too much": """1 joins; 1 sends 02FD8001000000060E8110023E00; 1 hears nack 1002 0E81 03
        ; 1 asks 22{LONG}; 1 hears nack 1001 0E81 04; {ALIVE}""",
    "headers": """1 joins; 2 joins; 2 sends 02FE800100000000; 2 hears header nack 00; 2 hears closed
        ; 3 opens; udp sends 02FD400100000000; udp hears status 1 2/2 256; 1 sends 02FD8001FFFFFFFF{ZEROS}
        ; 1 hears header nack 02; 1 leaves; 1 joins; 1 sends 02FD9999000000021234; 1 hears header nack 01
        ; 1 sends 02FD000100000000; 1 hears header nack 01; 1 sends 02FD000000000001 02
        ; 1 sends 02FD800100000101{ZEROS}; 1 hears header nack 02; {ALIVE}
        ; 1 sends 02FD8001 00000003; 1 hears header nack 04; 1 hears closed""",
    "versions": """1 joins; 1 sends 03FC8001000000060E8110013E00; 1 hears v3 ack 1001 0E81; 1 hears v3 uds 7E00
        ; 2 opens; 2 sends FF00000500000007; 2 hears header nack 00; 2 hears closed
        ; 2 opens; 2 sends 04FB000500000007; 2 hears header nack 00; 2 hears closed""",
    "activation of no legal length": """1 opens; 1 sends 02FD000500000008 0E80000000000000; 1 hears header nack 04
        ; 1 hears closed; 2 opens; 2 sends 02FD00050000000B 0E82000000000001020304; 2 hears routing 0E82 10""",
    "memory": """1 joins; 2 joins; 1 sends 02FD800100000100; 2 sends 02FD800100000100; 3 opens
        ; 3 sends 02FD0005000000070E83; 3 hears header nack 03""",
    # 45 bytes of answers a request; 4096 minus them have to hold the longest response and what goes with it, 2025.
    "more answers than can be queued": "1 joins; 1 sends {BURST}" + "; 1 hears ack 1001 0E81; 1 hears uds 62F190{VIN}" * 47
                                       + "; 1 hears nack 1001 0E81 05" * 13,
    "split": """1 opens; 1 drips 02FD0005000000070E810000000000 02FD12340000000200FF; 1 hears routing 0E81 10
        ; 1 hears header nack 01; 1 drips 02FD8001000000070E81100122F186; 1 hears ack 1001 0E81
        ; 1 hears uds 62F18601""",
    "joined": """1 opens
        ; 1 sends 02FD0005000000070E810000000000 02FD8001000000070E81100122F186 02FD8001000000060E8110013E00
        ; 1 hears routing 0E81 10; 1 hears ack 1001 0E81; 1 hears uds 62F18601; 1 hears ack 1001 0E81
        ; 1 hears uds 7E00""",
    # Requests
    "sessions": """1 joins; 1 asks 1003 500300320064; 1 reads F186 62F18603; 2 opens; 2 hears closed after 800
        ; 1 reads F186 62F18601; 1 asks 1083 -; 1 asks 3E80 -; 1 reads F186 62F18603; 2 joins; 2 reads F186 62F18601
        ; 1 leaves; 1 joins; 1 reads F186 62F18601""",
    "refusals": """1 joins; 1 asks 1002 7F1012; 1 asks 1082 7F1012; 1 asks 100200 7F1012; 1 asks 10 7F1013
        ; 1 asks 100300 7F1013; 1 asks 3E 7F3E13; 1 asks 3E81 7F3E12; 1 asks 11 7F1111; 1 asks 22 7F2213
        ; 1 asks 2217 7F2213; 1 asks 22F190F1 7F2213; 1 reads 1234 7F2231; 1 reads 12341234F1861234 62F18601
        ; 1 reads 17F017F017F017F017F0 7F2213""",
    "refusals to all": """1 joins; 1 asks all 221234 -; 1 asks all 3E01 -; 1 asks all 1002 -; 1 asks all 2701 -
        ; 1 asks all 10 7F1013; 1 asks all 3E00 7E00""",
    "report alone, last, first, with unknown ones": """1 joins; 1 reads 17F0 6217F001{ENTRY}
        ; 1 reads 17F217F0 6217F20117F001{ENTRY}; 1 reads 17F017F2 6217F001{ENTRY}17F201
        ; 1 reads FFFF17F21234 6217F201; 1 reads 17F217F2 6217F20117F201""",
    "report lengths": """1 joins; 17F0 empty; 1 reads 17F0 6217F000; 17F0 long; 1 reads 17F0 6217F00F{LONGREPORT}
        ; 17F0 longest; 1 reads 17F0 6217F00F{LONGESTREPORT}; 17F0 longer; 1 reads 17F0 7F2214
        ; 1 reads 17F217F0 7F2214""",
    "a service fails": """1 joins; 17F0 fails; 1 reads 17F0 7F2211; 1 reads 17F217F0 7F2211; 1 reads 17F2 6217F201
        ; 17F0 refuses; 1 reads 17F0 7F2222; 17F0 garbles; 1 reads 17F0 7F2222; 17F0 waits; 1 reads 17F0 7F2210
        ; 17F2 fails; 1 asks all 2217F2 -; 2 joins; 2 reads 17F2 7F2211; 1 reads F186 62F18601""",
    "a service hangs and recovers": """1 joins; 17F0 hangs; 1 asks 2217F0 -; 1 hears uds 7F2278 after 40
        ; 1 asks 3E80 -; 1 asks 22F186 7F2221; 1 hears uds 7F2278; 1 hears uds 7F2210 after 800
        ; 2 joins; 2 reads 17F2 6217F201; 2 asks all 2217F0 7F2278; 17F0 fails; 2 finally hears uds 7F2211
        ; 17F0 answers; 1 reads 17F0 6217F001{ENTRY}""",
    "a service dies while it is asked": """1 joins; 17F2 hangs; 1 asks 2217F2 7F2278; both dies
        ; 1 finally hears uds 7F2222; 17F2 answers; both comes; 1 awaits 17F2 6217F201""",
    "who asks during a read gets a later record": """1 joins; 2 joins; 17F0 hangs; 1 asks 2217F0 7F2278
        ; 2 asks 2217F0 7F2278; 17F0 empty,answers; 1 finally hears uds 6217F000
        ; 2 finally hears uds 6217F001{ENTRY}""",
    "a tester ends its side and waits for its answers": """1 joins; 17F0 hangs; 1 asks 2217F0 7F2278; 1 ends; 2 joins
        ; 17F0 answers; 1 finally hears uds 6217F001{ENTRY}; 1 hears closed""",
    "a tester goes while a service hangs": """1 joins; 17F0 hangs; 1 asks 2217F0 7F2278; 1 breaks off; 2 joins
        ; 2 reads 17F2 6217F201; 17F0 answers; 2 reads 17F0 6217F001{ENTRY}""",
}
