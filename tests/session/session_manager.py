"""A session manager of the X11 kind (X Session Management Protocol 1.0), built on the library that Qt speaks it with: a
program for the tests. Prints its address; then each line on standard input is a command, and each line printed is what
a client did.
"""

import ctypes
import os
import select
import sys

ice = ctypes.CDLL("libICE.so.6")
sm = ctypes.CDLL("libSM.so.6")

SAVE_LOCAL = 1
SAVE_BOTH = 2
NO_INTERACTION = 0
ANY_INTERACTION = 2
ACCEPTED = 1
REFUSED = (2, 3)

connection_of = {}
client_of = {}

pointer = ctypes.c_void_p
NewClient = ctypes.CFUNCTYPE(ctypes.c_int, pointer, pointer, ctypes.POINTER(ctypes.c_ulong), pointer,
                             ctypes.POINTER(pointer))
HostAllowed = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_char_p)


class Value(ctypes.Structure):
    _fields_ = [("length", ctypes.c_int), ("value", pointer)]


class Property(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("type", ctypes.c_char_p), ("count", ctypes.c_int),
                ("values", ctypes.POINTER(Value))]

    def words(self):
        return [ctypes.string_at(value.value, value.length).decode() for value in self.values[:self.count]]


def say(*words):
    print(*words, sep="\t", flush=True)


def callback(*arguments, result=None):
    """The kinds of callback of SmsCallbacks: all begin with the client and what it was registered with."""
    return ctypes.CFUNCTYPE(result, pointer, pointer, *arguments)


def register(client, _, previous):
    identifier = sm.SmsGenerateClientID(client)
    sm.SmsRegisterClientReply(client, identifier)
    say("registered")
    # What the protocol has a manager do with a client that is new.
    if not previous:
        sm.SmsSaveYourself(client, SAVE_LOCAL, 0, NO_INTERACTION, 0)
    return 1


def saved(client, _, is_saved):
    say("saved" if is_saved else "not saved")
    sm.SmsSaveComplete(client)


def gone(client, _, count, reasons):
    say("gone")
    connection = connection_of.pop(client)
    del client_of[ice.IceConnectionNumber(connection)]
    sm.SmsCleanUp(client)
    ice.IceSetShutdownNegotiation(connection, 0)
    ice.IceCloseConnection(connection)


def properties(client, _, count, given):
    for each in given[:count]:
        if each.contents.name == b"RestartCommand":
            say("restart", *each.contents.words())
        sm.SmFreeProperty(ctypes.cast(each, pointer))


CALLBACKS = [
    (callback(ctypes.c_char_p, result=ctypes.c_int), register),
    (callback(ctypes.c_int), lambda *_: say("wants to ask")),
    (callback(ctypes.c_int), lambda *_: say("has asked")),
    (callback(ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_int), lambda *_: say("asks for a save")),
    (callback(), lambda client, _: sm.SmsSaveYourselfPhase2(client)),
    (callback(ctypes.c_int), saved),
    (callback(ctypes.c_int, pointer), gone),
    (callback(ctypes.c_int, ctypes.POINTER(ctypes.POINTER(Property))), properties),
    (callback(ctypes.c_int, pointer), lambda *_: None),
    (callback(), lambda client, _: sm.SmsReturnProperties(client, 0, None)),
]
KEPT = [kind(function) for kind, function in CALLBACKS]


@NewClient
def new_client(client, _, mask, callbacks, __):
    mask[0] = (1 << len(KEPT)) - 1
    pairs = ctypes.cast(callbacks, ctypes.POINTER(pointer))
    for number, each in enumerate(KEPT):
        pairs[2 * number] = ctypes.cast(each, pointer)
        pairs[2 * number + 1] = None
    connection = sm.SmsGetIceConnection(client)
    connection_of[client] = connection
    client_of[ice.IceConnectionNumber(connection)] = client
    return 1


@HostAllowed
def allow(host):
    return 1


def declare():
    for function, result, *arguments in (
            (sm.SmsInitialize, ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p, NewClient, pointer, HostAllowed,
             ctypes.c_int, ctypes.c_char_p),
            (sm.SmsGetIceConnection, pointer, pointer),
            (sm.SmsGenerateClientID, pointer, pointer),
            (sm.SmsRegisterClientReply, ctypes.c_int, pointer, pointer),
            (sm.SmsSaveYourself, None, pointer, ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.c_int),
            (sm.SmsSaveYourselfPhase2, None, pointer),
            (sm.SmsSaveComplete, None, pointer),
            (sm.SmsDie, None, pointer),
            (sm.SmsShutdownCancelled, None, pointer),
            (sm.SmsCleanUp, None, pointer),
            (sm.SmsReturnProperties, None, pointer, ctypes.c_int, pointer),
            (sm.SmFreeProperty, None, pointer),
            (ice.IceListenForConnections, ctypes.c_int, ctypes.POINTER(ctypes.c_int),
             ctypes.POINTER(ctypes.POINTER(pointer)), ctypes.c_int, ctypes.c_char_p),
            (ice.IceComposeNetworkIdList, ctypes.c_char_p, ctypes.c_int, ctypes.POINTER(pointer)),
            (ice.IceGetListenConnectionNumber, ctypes.c_int, pointer),
            (ice.IceSetHostBasedAuthProc, None, pointer, HostAllowed),
            (ice.IceAcceptConnection, pointer, pointer, ctypes.POINTER(ctypes.c_int)),
            (ice.IceConnectionStatus, ctypes.c_int, pointer),
            (ice.IceConnectionNumber, ctypes.c_int, pointer),
            (ice.IceSetShutdownNegotiation, None, pointer, ctypes.c_int),
            (ice.IceCloseConnection, ctypes.c_int, pointer),
            (ice.IceProcessMessages, ctypes.c_int, pointer, pointer, pointer)):
        function.restype, function.argtypes = result, arguments


def listen():
    # Only on this machine.
    ice._IceTransNoListen(b"tcp")
    error = ctypes.create_string_buffer(256)
    if not sm.SmsInitialize(b"Driftwell", b"1", new_client, None, allow, len(error), error):
        sys.exit(error.value.decode())
    count = ctypes.c_int()
    listeners = ctypes.POINTER(pointer)()
    if not ice.IceListenForConnections(ctypes.byref(count), ctypes.byref(listeners), len(error), error):
        sys.exit(error.value.decode())
    say(ice.IceComposeNetworkIdList(count, listeners).decode())
    found = {}
    for listener in listeners[:count.value]:
        ice.IceSetHostBasedAuthProc(listener, allow)
        found[ice.IceGetListenConnectionNumber(listener)] = listener
    return found


def take(line):
    for client in list(connection_of):
        if line == "save":
            sm.SmsSaveYourself(client, SAVE_BOTH, 1, ANY_INTERACTION, 0)
        elif line == "stay":
            sm.SmsShutdownCancelled(client)
        elif line == "die":
            sm.SmsDie(client)


def main():
    declare()
    listeners = listen()
    pending = {}
    typed = b""
    while True:
        ready, _, _ = select.select([0, *listeners, *pending, *client_of], [], [])
        for descriptor in ready:
            if descriptor == 0:
                some = os.read(0, 4096)
                if not some:
                    return
                *lines, typed = (typed + some).split(b"\n")
                for line in lines:
                    take(line.decode())
            elif descriptor in listeners:
                status = ctypes.c_int()
                connection = ice.IceAcceptConnection(listeners[descriptor], ctypes.byref(status))
                if connection:
                    pending[ice.IceConnectionNumber(connection)] = connection
            elif descriptor in pending or descriptor in client_of:
                client = client_of.get(descriptor)
                connection = pending.get(descriptor) or connection_of[client]
                failed = ice.IceProcessMessages(connection, None, None) == 1
                if descriptor in client_of:
                    pending.pop(descriptor, None)
                    if failed:
                        say("gone without a word")
                        connection_of.pop(client, None)
                        client_of.pop(descriptor, None)
                        ice.IceCloseConnection(connection)
                elif failed or ice.IceConnectionStatus(connection) in REFUSED:
                    pending.pop(descriptor, None)


main()
