#!/usr/bin/python3
"""A desktop's session manager, by the protocol that X11 desktops share (XSMP).

It prints the address for SESSION_MANAGER first, and then each event as a line of JSON: who came, what they set, whether
they are done, and that they left. It does what the lines of its standard input say, with all its clients:

  save      asks them to save their state, as a desktop does from time to time
  shutdown  asks them to get ready for the end of the session
  cancel    says that the session goes on after all
  die       ends the session
"""
import ctypes
import json
import select
import signal
import sys

_SAVE_GLOBAL, _SAVE_LOCAL, _SAVE_BOTH = 0, 1, 2
_INTERACT_NONE, _INTERACT_ANY = 0, 2

ice = ctypes.CDLL("libICE.so.6")
sm = ctypes.CDLL("libSM.so.6")
libc = ctypes.CDLL(None)
Pointer, Int, Long = ctypes.c_void_p, ctypes.c_int, ctypes.c_ulong


class Value(ctypes.Structure):
    _fields_ = [("length", Int), ("value", Pointer)]


class Property(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("type", ctypes.c_char_p), ("count", Int),
                ("values", ctypes.POINTER(Value))]


def procedure(result, *arguments):
    return ctypes.CFUNCTYPE(result, *arguments)


RegisterClient = procedure(Int, Pointer, Pointer, Pointer)
InteractRequest = procedure(None, Pointer, Pointer, Int)
InteractDone = procedure(None, Pointer, Pointer, Int)
SaveYourselfRequest = procedure(None, Pointer, Pointer, Int, Int, Int, Int, Int)
SaveYourselfPhase2Request = procedure(None, Pointer, Pointer)
SaveYourselfDone = procedure(None, Pointer, Pointer, Int)
CloseConnection = procedure(None, Pointer, Pointer, Int, ctypes.POINTER(ctypes.c_char_p))
SetProperties = procedure(None, Pointer, Pointer, Int, ctypes.POINTER(ctypes.POINTER(Property)))
DeleteProperties = procedure(None, Pointer, Pointer, Int, ctypes.POINTER(ctypes.c_char_p))
GetProperties = procedure(None, Pointer, Pointer)
PROCEDURES = (RegisterClient, InteractRequest, InteractDone, SaveYourselfRequest, SaveYourselfPhase2Request,
              SaveYourselfDone, CloseConnection, SetProperties, DeleteProperties, GetProperties)


class Callbacks(ctypes.Structure):
    _fields_ = [field for number, kind in enumerate(PROCEDURES)
                for field in ((f"callback{number}", kind), (f"data{number}", Pointer))]


NewClient = procedure(Int, Pointer, Pointer, ctypes.POINTER(Long), ctypes.POINTER(Callbacks), Pointer)
HostMayConnect = procedure(Int, Pointer)
ConnectionFailed = procedure(None, Pointer)

for function, arguments in ((ice.IceGetListenConnectionNumber, (Pointer,)),
                            (ice.IceAcceptConnection, (Pointer, Pointer)),
                            (ice.IceConnectionNumber, (Pointer,)),
                            (ice.IceConnectionStatus, (Pointer,)),
                            (ice.IceProcessMessages, (Pointer, Pointer, Pointer)),
                            (ice.IceSetShutdownNegotiation, (Pointer, Int)),
                            (ice.IceCloseConnection, (Pointer,)),
                            (ice.IceFreeListenObjs, (Int, Pointer)),
                            (ice.IceSetHostBasedAuthProc, (Pointer, HostMayConnect)),
                            (ice.IceComposeNetworkIdList, (Int, Pointer)),
                            (sm.SmsGenerateClientID, (Pointer,)),
                            (sm.SmsGetIceConnection, (Pointer,)),
                            (sm.SmsRegisterClientReply, (Pointer, Pointer)),
                            (sm.SmsSaveYourself, (Pointer, Int, Int, Int, Int)),
                            (sm.SmsSaveYourselfPhase2, (Pointer,)),
                            (sm.SmsInteract, (Pointer,)),
                            (sm.SmsDie, (Pointer,)),
                            (sm.SmsSaveComplete, (Pointer,)),
                            (sm.SmsShutdownCancelled, (Pointer,)),
                            (sm.SmsCleanUp, (Pointer,)),
                            (libc.free, (Pointer,))):
    function.argtypes = arguments
for function in (ice.IceAcceptConnection, sm.SmsGenerateClientID, sm.SmsGetIceConnection):
    function.restype = Pointer
ice.IceComposeNetworkIdList.restype = ctypes.c_char_p


def tell(event, **details):
    print(json.dumps({"event": event, **details}), flush=True)


class Manager:
    def __init__(self):
        self.connections = {}  # what has connected, by its descriptor
        self.clients = []  # those of them that take part in the session
        self.shutting_down = False
        # The library calls these for as long as the process lives.
        self.procedures = [kind(call) for kind, call in zip(PROCEDURES, (
            self.register_client, lambda client, _data, _kind: sm.SmsInteract(client),
            lambda _client, _data, cancelled: tell("interacted", cancelled=bool(cancelled)),
            lambda *_details: None, lambda client, _data: sm.SmsSaveYourselfPhase2(client),
            self.save_yourself_done, self.close_connection, self.set_properties,
            lambda *_details: None, lambda *_details: None))]
        self.keep = [NewClient(self.new_client), HostMayConnect(lambda _host: 1),
                     ConnectionFailed(lambda _connection: None)]
        ice.IceSetIOErrorHandler(self.keep[2])
        error = ctypes.create_string_buffer(256)
        if not sm.SmsInitialize(b"rig", b"1", self.keep[0], None, self.keep[1], len(error), error):
            raise RuntimeError(error.value.decode())
        ice._IceTransNoListen(b"tcp")
        count, listeners = Int(), ctypes.POINTER(Pointer)()
        if not ice.IceListenForConnections(ctypes.byref(count), ctypes.byref(listeners), len(error), error):
            raise RuntimeError(error.value.decode())
        self.free_listeners = lambda: ice.IceFreeListenObjs(count, listeners)
        self.listeners = {ice.IceGetListenConnectionNumber(listeners[index]): listeners[index]
                          for index in range(count.value)}
        for listener in self.listeners.values():
            ice.IceSetHostBasedAuthProc(listener, self.keep[1])
        tell("listening", address=ice.IceComposeNetworkIdList(count, listeners).decode())

    def run(self):
        while True:
            ready, _, _ = select.select([0, *self.listeners, *self.connections], [], [])
            for descriptor in ready:
                if descriptor == 0:
                    word = sys.stdin.readline().strip()
                    if not word:
                        return
                    self.obey(word)
                elif descriptor in self.listeners:
                    status = Int()
                    connection = ice.IceAcceptConnection(self.listeners[descriptor], ctypes.byref(status))
                    if connection:
                        self.connections[ice.IceConnectionNumber(connection)] = connection
                elif descriptor in self.connections:
                    self.process(descriptor)

    def process(self, descriptor):
        connection = self.connections[descriptor]
        if ice.IceProcessMessages(connection, None, None) == 1:  # an error of the connection itself
            lost = [client for client in self.clients if sm.SmsGetIceConnection(client) == connection]
            for client in lost:
                self.clients.remove(client)
                tell("lost")
            self.forget(connection)

    def forget(self, connection):
        self.connections.pop(ice.IceConnectionNumber(connection), None)
        ice.IceSetShutdownNegotiation(connection, 0)
        ice.IceCloseConnection(connection)

    def obey(self, word):
        self.shutting_down = word == "shutdown"
        for client in list(self.clients):
            if word == "save":
                sm.SmsSaveYourself(client, _SAVE_LOCAL, 0, _INTERACT_NONE, 0)
            elif word == "shutdown":
                sm.SmsSaveYourself(client, _SAVE_BOTH, 1, _INTERACT_ANY, 0)
            elif word == "cancel":
                sm.SmsShutdownCancelled(client)
            elif word == "die":
                sm.SmsDie(client)
            else:
                raise ValueError(word)

    def new_client(self, _client, _data, mask, callbacks, _reason):
        mask[0] = (1 << len(PROCEDURES)) - 1
        for number, call in enumerate(self.procedures):
            setattr(callbacks[0], f"callback{number}", call)
        return 1

    def register_client(self, client, _data, previous):
        if previous:
            libc.free(previous)
            return 0  # Nobody is restored here: whoever asks for it is told to register anew.
        identity = sm.SmsGenerateClientID(client)
        sm.SmsRegisterClientReply(client, identity)
        libc.free(identity)
        self.clients.append(client)
        tell("registered")
        # The protocol asks for a first one at once, by which the manager learns how to start the client again.
        sm.SmsSaveYourself(client, _SAVE_LOCAL, 0, _INTERACT_NONE, 0)
        return 1

    def save_yourself_done(self, client, _data, success):
        tell("done", success=bool(success))
        if not self.shutting_down:
            sm.SmsSaveComplete(client)

    def set_properties(self, _client, _data, count, properties):
        for index in range(count):
            found = properties[index][0]
            values = [ctypes.string_at(found.values[number].value, found.values[number].length)
                      for number in range(found.count)]
            kind = found.type.decode()
            tell("property", name=found.name.decode(), type=kind,
                 values=[value[0] if kind == "CARD8" else value.decode(errors="replace") for value in values])

    def close_connection(self, client, _data, _count, _reasons):
        self.clients.remove(client)
        connection = sm.SmsGetIceConnection(client)
        sm.SmsCleanUp(client)
        self.forget(connection)
        tell("left")


signal.signal(signal.SIGTERM, lambda *_details: sys.exit(0))
manager = Manager()
try:
    manager.run()
finally:
    manager.free_listeners()  # Their sockets are files.
