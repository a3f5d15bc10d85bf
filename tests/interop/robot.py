"""A robot that speaks the Robaxi protocol: prints its port and serves until it is killed.

    robot.py [--version N] [--refuse CAUSE] [--no-fragments] [--certificate FILE --key FILE]
        [--token TOKEN]

    --version N        speaks this version of the protocol
    --refuse CAUSE     refuses everybody, for instance with TOO_MANY
    --no-fragments     does not take messages in parts
    --certificate FILE, --key FILE   speaks TLS with this certificate (PEM)
    --token TOKEN      asks for this token
"""

import argparse
import concurrent.futures
import hmac
import pathlib
import queue
import threading
import time

import grpc

import messages
from messages import RemoteError, from_value, to_value
from robaxi.v1 import robaxi_pb2 as pb

SESSION_ID = 0x1234_5678_9ABC_DEF0
SILENCE_LIMIT = 5000  # milliseconds

# The statuses of the causes with which this robot ends an RPC.
STATUS = {
    pb.Error.INVALID_ARGUMENT: grpc.StatusCode.INVALID_ARGUMENT,
    pb.Error.NO_SUCH_MODULE: grpc.StatusCode.NOT_FOUND,
    pb.Error.NO_SUCH_STREAM: grpc.StatusCode.NOT_FOUND,
    pb.Error.NOT_AUTHORISED: grpc.StatusCode.PERMISSION_DENIED,
    pb.Error.TOKEN_MISSING: grpc.StatusCode.UNAUTHENTICATED,
    pb.Error.TOKEN_WRONG: grpc.StatusCode.UNAUTHENTICATED,
    pb.Error.TOO_MANY: grpc.StatusCode.RESOURCE_EXHAUSTED,
    pb.Error.PROTOCOL_VERSION: grpc.StatusCode.FAILED_PRECONDITION,
}


def end(context, cause, text=""):
    """Ends an RPC with a status and its details."""
    details = pb.Error(cause=cause, text=text)
    context.set_trailing_metadata([(messages.DETAILS, details.SerializeToString())])
    context.abort(STATUS[cause], text or pb.Error.Cause.Name(cause))


class Method:
    def __init__(self, function, signature, description):
        self.function = function
        self.signature = signature
        self.description = description


class Module:
    def __init__(self, description, methods, keys=(), cameras=()):
        self.description = description
        self.methods = methods
        self.keys = keys
        self.cameras = cameras

    def to_message(self, name):
        return pb.Module(
            name=name, description=self.description, has_values=bool(self.keys),
            has_frames=bool(self.cameras),
            methods=[pb.Method(name=name, signature=method.signature,
                               description=method.description)
                     for name, method in self.methods.items()])


class Heard:
    """What was posted."""

    def __init__(self):
        self.words = []

    def say(self, word):
        self.words.append(word)

    def so_far(self):
        return list(self.words)


def fail(cause, text):
    raise RemoteError(pb.Error.Cause.Value(cause), text)


def make_modules():
    heard = Heard()
    return {
        "Echo": Module("Says what it hears", {
            "echo": Method(lambda value: value, "echo(value)", "Returns its argument"),
            "fail": Method(fail, "fail(cause: string, text: string)", "Fails"),
            "wait": Method(time.sleep, "wait(seconds: float)", "Takes its time"),
            "say": Method(heard.say, "say(word: string)", "Keeps a word"),
            "heard": Method(heard.so_far, "heard() -> list", "The words that were said"),
        }),
        "Memory": Module("Counts", {}, keys=[
            pb.Key(id=3, name="Counter/Float", unit="rad", type=pb.Value.FLOAT),
            pb.Key(id=4, name="Counter/Int", description="Counts updates", type=pb.Value.INT),
            pb.Key(id=9, name="Counter/Text", type=pb.Value.STRING, writable=True),
        ]),
        "Video": Module("Sees", {}, cameras=["left", "right"]),
    }


def run(modules, call):
    """The Result of a call."""
    result = pb.Result(call_id=call.call_id)
    try:
        if call.module not in modules:
            raise RemoteError(pb.Error.NO_SUCH_MODULE, by_method=False)
        method = modules[call.module].methods.get(call.method)
        if method is None:
            raise RemoteError(pb.Error.NO_SUCH_METHOD, by_method=False)
        value = method.function(*map(from_value, call.arguments))
        result.value.CopyFrom(to_value(value))
    except RemoteError as error:
        result.error.CopyFrom(error.to_message())
    except TypeError as error:
        wrong = RemoteError(pb.Error.WRONG_ARGUMENTS, str(error), by_method=False)
        result.error.CopyFrom(wrong.to_message())
    return result


class Session:
    """The robot's end of a session: reads on a separate thread, and yields its messages."""

    def __init__(self, options, modules):
        self._options = options
        self._modules = modules
        self._out = queue.Queue()
        self._calls = concurrent.futures.ThreadPoolExecutor(max_workers=8)
        self._client_takes_fragments = False

    def serve(self, requests, context):
        threading.Thread(target=self._read, args=[requests], daemon=True).start()
        for message in iter(self._out.get, None):
            if isinstance(message, RemoteError):
                end(context, message.cause, message.text)
            cut = self._client_takes_fragments
            for part in messages.in_parts(message) if cut else [message]:
                yield pb.ServerBatch(messages=[part])

    def _read(self, requests):
        try:
            assembler = messages.Assembler()
            incoming = (assembler.take(message) for batch in requests for message in batch.messages)
            if self._greet(next(incoming)):
                for message in incoming:
                    if message is not None:
                        self._handle(message)
        except grpc.RpcError:
            pass  # the client is gone
        self._calls.shutdown(wait=True)
        self._out.put(None)

    def _greet(self, message):
        hello = message.hello  # of version 0 when it is something else
        refusal = self._refusal_of(hello)
        if refusal is not None:
            self._out.put(refusal)
            return False
        self._client_takes_fragments = hello.takes_fragments
        reply = pb.HelloReply(protocol_version=self._options.version, name="Python",
                              session_id=SESSION_ID, silence_limit=SILENCE_LIMIT,
                              takes_fragments=self._options.takes_fragments)
        self._out.put(pb.ServerMessage(hello_reply=reply))
        return True

    def _refusal_of(self, hello):
        version = self._options.version
        if hello.protocol_version != version:
            return RemoteError(pb.Error.PROTOCOL_VERSION, f"it speaks version {version}, "
                               f"this program version {hello.protocol_version}")
        if self._options.refuse is not None:
            return RemoteError(self._options.refuse)
        if not self._is_known(hello.token):
            return RemoteError(pb.Error.TOKEN_WRONG if hello.token else pb.Error.TOKEN_MISSING)
        return None

    def _is_known(self, token):
        wanted = self._options.token.encode()
        return not wanted or hmac.compare_digest(token, wanted)

    def _handle(self, message):
        content = message.WhichOneof("content")
        if content == "heartbeat":
            self._out.put(pb.ServerMessage(heartbeat=message.heartbeat))
        elif content == "call":
            self._calls.submit(self._run, message.call)
        elif content == "list_modules":
            self._list_modules(message.list_modules)

    def _run(self, call):
        result = run(self._modules, call)
        if call.call_id != 0:
            self._out.put(pb.ServerMessage(result=result))

    def _list_modules(self, question):
        described = [module.to_message(name) for name, module in self._modules.items()
                     if question.module in ("", name)]
        if described:
            answer = pb.ModuleList(call_id=question.call_id, modules=described)
            self._out.put(pb.ServerMessage(module_list=answer))
        else:
            error = pb.Error(cause=pb.Error.NO_SUCH_MODULE)
            answer = pb.Result(call_id=question.call_id, error=error)
            self._out.put(pb.ServerMessage(result=answer))


class Window:
    """Counts what was sent, and waits until the client is done with all but the last two of it."""

    def __init__(self, count_of):
        self._count_of = count_of
        self._done = 0
        self._changed = threading.Condition()
        self._is_over = False
        self.sent = 0

    def follow(self, requests):
        """Handles the client's further requests, on a separate thread."""
        threading.Thread(target=self._read, args=[requests], daemon=True).start()

    def await_room(self):
        """Whether there is somebody left to send to."""
        with self._changed:
            self._changed.wait_for(lambda: self._is_over or self.sent < self._done + 2)
            return not self._is_over

    def _read(self, requests):
        try:
            for request in requests:
                with self._changed:
                    self._done = max(self._done, self._count_of(request))
                    self._changed.notify()
        except grpc.RpcError:
            pass  # the client is gone
        with self._changed:
            self._is_over = True
            self._changed.notify()


class Subscription:
    """Sends a table of keys, and values that count the updates as fast as they are consumed."""

    def __init__(self, modules):
        self._modules = modules
        self._window = Window(lambda request: request.consumed)

    def serve(self, requests, context):
        start = next(requests).start
        if start.session_id != SESSION_ID:
            end(context, pb.Error.NOT_AUTHORISED, "no session")
        module = self._modules.get(start.module)
        if module is None or not module.keys:
            end(context, pb.Error.NO_SUCH_MODULE)
        self._window.follow(requests)
        yield self._update(keys_added=pb.KeysAdded(keys=module.keys))
        while self._window.await_room():
            yield self._update(values=self._values())
            time.sleep(1 / start.rate)

    def _values(self):
        number = self._window.sent
        return pb.Values(time=int(time.time() * 1e6), float_ids=[3], floats=[number / 2],
                         int_ids=[4], ints=[number], other_ids=[9],
                         others=[to_value(f"update {number}")], time_offsets=[0, -1000, 1000])

    def _update(self, **content):
        self._window.sent += 1
        return pb.SubscriptionUpdate(number=self._window.sent, **content)


class Watch:
    """Sends frames of 4 x 3 grey pixels, whose brightness is the number of the frame, in parts."""

    WIDTH = 4
    HEIGHT = 3
    PART = 5

    def __init__(self, modules):
        self._modules = modules
        self._window = Window(lambda request: request.received)

    def serve(self, requests, context):
        start = next(requests).start
        module = self._modules.get(start.module)
        if start.session_id != SESSION_ID or module is None or start.stream not in module.cameras:
            end(context, pb.Error.NO_SUCH_STREAM)
        self._window.follow(requests)
        while self._window.await_room():
            self._window.sent += 1
            yield from self._frame(self._window.sent)

    def _frame(self, number):
        data = bytes([number % 256]) * (self.WIDTH * self.HEIGHT)
        header = pb.FrameHeader(number=number, time=int(time.time() * 1e6), width=self.WIDTH,
                                height=self.HEIGHT, stride=self.WIDTH,
                                format=pb.FrameHeader.GREY8, size=len(data))
        yield pb.WatchUpdate(header=header, data=data[: self.PART])
        for at in range(self.PART, len(data), self.PART):
            yield pb.WatchUpdate(data=data[at : at + self.PART])


def handler(name, serve, request, reply):
    return name, grpc.stream_stream_rpc_method_handler(
        serve, request.FromString, reply.SerializeToString)


def listen(server, options):
    """Returns the port of the loopback on which the server listens."""
    place = "127.0.0.1:0"
    if options.certificate is None:
        return server.add_insecure_port(place)
    pair = (options.key.read_bytes(), options.certificate.read_bytes())
    return server.add_secure_port(place, grpc.ssl_server_credentials([pair]))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", type=int, default=messages.PROTOCOL_VERSION)
    parser.add_argument("--refuse", type=pb.Error.Cause.Value)
    parser.add_argument("--no-fragments", dest="takes_fragments", action="store_false")
    parser.add_argument("--certificate", type=pathlib.Path)
    parser.add_argument("--key", type=pathlib.Path)
    parser.add_argument("--token", default="")
    options = parser.parse_args()
    modules = make_modules()

    server = grpc.server(concurrent.futures.ThreadPoolExecutor(max_workers=64),
                         options=messages.UNLIMITED)
    server.add_generic_rpc_handlers([grpc.method_handlers_generic_handler(
        messages.SERVICE, dict([
            handler("Session", lambda *rpc: Session(options, modules).serve(*rpc),
                    pb.ClientBatch, pb.ServerBatch),
            handler("Subscribe", lambda *rpc: Subscription(modules).serve(*rpc),
                    pb.SubscriptionRequest, pb.SubscriptionUpdate),
            handler("Watch", lambda *rpc: Watch(modules).serve(*rpc),
                    pb.WatchRequest, pb.WatchUpdate),
        ]))])
    port = listen(server, options)
    server.start()
    print(f"port {port}", flush=True)
    server.wait_for_termination()


if __name__ == "__main__":
    main()
