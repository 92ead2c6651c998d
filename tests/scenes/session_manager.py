"""A session manager of the X Session Management Protocol, as a process of its own: it prints its address, then one word
for each thing that a program does, and does what it is told on standard input:

    shutdown    asks every program to save itself for the end of the session, then ends them ("die")
"""
import ctypes
import os
import select
import sys

SM, ICE = ctypes.CDLL("libSM.so.6"), ctypes.CDLL("libICE.so.6")
ICE.IceListenForConnections.argtypes = [ctypes.POINTER(ctypes.c_int), ctypes.POINTER(ctypes.c_void_p), ctypes.c_int, ctypes.c_char_p]
ICE.IceComposeNetworkIdList.restype = ctypes.c_void_p
ICE.IceComposeNetworkIdList.argtypes = [ctypes.c_int, ctypes.c_void_p]
ICE.IceGetListenConnectionNumber.argtypes = [ctypes.c_void_p]
ICE.IceAcceptConnection.restype = ctypes.c_void_p
ICE.IceAcceptConnection.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int)]
ICE.IceConnectionNumber.argtypes = [ctypes.c_void_p]
ICE.IceConnectionStatus.argtypes = [ctypes.c_void_p]
ICE.IceProcessMessages.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p]
ICE.IceCloseConnection.argtypes = [ctypes.c_void_p]
SM.SmsRegisterClientReply.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
SM.SmsGenerateClientID.restype = ctypes.c_void_p
SM.SmsGenerateClientID.argtypes = [ctypes.c_void_p]
SM.SmsSaveYourself.argtypes = [ctypes.c_void_p] + [ctypes.c_int] * 4
for function in (SM.SmsSaveComplete, SM.SmsDie, SM.SmsCleanUp):
    function.argtypes = [ctypes.c_void_p]
SM.SmsInitialize.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_char_p]

# The constants of SMlib.h and ICElib.h.
ALL_CALLBACKS = 0x3FF
SAVE_LOCAL, SAVE_BOTH, NO_INTERACTION = 1, 2, 0
CONNECT_PENDING = 0

connections, clients, kept = {}, [], []
ending = False


def say(word):
    print(word, flush=True)


def callback(result, *arguments):
    """Keeps a function alive for C."""
    def made(function):
        pointer = ctypes.CFUNCTYPE(result, *arguments)(function)
        kept.append(pointer)
        return ctypes.cast(pointer, ctypes.c_void_p).value
    return made


@callback(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p)
def register_client(client, _, previous):
    if previous:  # the client is an earlier one: none is known
        return 0
    SM.SmsRegisterClientReply(client, SM.SmsGenerateClientID(client))
    clients.append(client)
    say("registered")
    SM.SmsSaveYourself(client, SAVE_LOCAL, 0, NO_INTERACTION, 0)  # which the protocol wants of a new client
    return 1


@callback(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int)
def save_yourself_done(client, _, success):
    say("saved" if success else "unsaved")
    if ending:
        SM.SmsDie(client)
    else:
        SM.SmsSaveComplete(client)


@callback(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p)
def close_connection(client, *_):
    say("closed")
    clients.remove(client)


@callback(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p)
def interact_request(*_):
    say("interact")


@callback(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p)
def nothing(*_):
    pass


@callback(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(ctypes.c_ulong), ctypes.POINTER(ctypes.c_void_p), ctypes.c_void_p)
def new_client(_, __, mask, callbacks, ___):
    mask[0] = ALL_CALLBACKS
    # Pairs of a function and its data: register, interact request and done, save request, phase 2, saved, closed, properties.
    for index, function in enumerate((register_client, interact_request, nothing, nothing, nothing, save_yourself_done, close_connection,
                                      nothing, nothing, nothing)):
        callbacks[2 * index], callbacks[2 * index + 1] = function, None
    return 1


@callback(ctypes.c_int, ctypes.c_char_p)
def everybody(_):
    return 1


@callback(None, ctypes.c_void_p)
def broken(_):
    pass


def main():
    global ending
    error = ctypes.create_string_buffer(256)
    assert SM.SmsInitialize(b"Vennic", b"1", new_client, None, everybody, len(error), error), error.value
    ICE.IceSetIOErrorHandler(ctypes.c_void_p(broken))
    count, listening = ctypes.c_int(), ctypes.c_void_p()
    assert ICE.IceListenForConnections(ctypes.byref(count), ctypes.byref(listening), len(error), error), error.value
    doors = ctypes.cast(listening, ctypes.POINTER(ctypes.c_void_p))
    for index in range(count.value):
        ICE.IceSetHostBasedAuthProc(ctypes.c_void_p(doors[index]), ctypes.c_void_p(everybody))
    say(ctypes.string_at(ICE.IceComposeNetworkIdList(count.value, listening)).decode())
    by_number = {ICE.IceGetListenConnectionNumber(doors[index]): doors[index] for index in range(count.value)}
    while True:
        ready, _, _ = select.select([sys.stdin.fileno(), *by_number, *connections], [], [])
        for number in ready:
            if number == sys.stdin.fileno():
                if os.read(number, 100).strip() != b"shutdown":
                    return
                ending = True
                for client in clients:
                    SM.SmsSaveYourself(client, SAVE_BOTH, 1, NO_INTERACTION, 0)
            elif number in by_number:
                status = ctypes.c_int()
                connection = ICE.IceAcceptConnection(by_number[number], ctypes.byref(status))
                if connection:
                    connections[ICE.IceConnectionNumber(connection)] = connection
            elif ICE.IceProcessMessages(connections[number], None, None) != 0:
                ICE.IceCloseConnection(connections.pop(number))


if __name__ == "__main__":
    main()
