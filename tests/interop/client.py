"""A client of the Robaxi protocol."""

import concurrent.futures
import itertools
import queue
import threading

import grpc

import messages
from messages import RemoteError, from_value, to_value
from robaxi.v1 import robaxi_pb2 as pb

SILENT_HEARTBEATS = 6  # heartbeats without any received message, after which a robot is silent


class Refused(Exception):
    """The robot did not take the hello: its status and the reason."""

    def __init__(self, error):
        super().__init__(error.details())
        self.code = error.code()
        self.reason = RemoteError.from_end(error)


class ConnectionLost(Exception):
    """The session is over."""


def open_channel(address, trust=None, name=None):
    """A channel, in TLS when there are certificates to trust: one of them must have signed the
    robot's, which must be for this name or, without one, for the address."""
    options = list(messages.UNLIMITED)
    if trust is None:
        return grpc.insecure_channel(address, options)
    if name is not None:
        options.append(("grpc.ssl_target_name_override", name))
    return grpc.secure_channel(address, grpc.ssl_channel_credentials(trust), options)


class Client:
    """One session with a robot. It reads, and sends heartbeats, on separate threads."""

    def __init__(self, address, version=messages.PROTOCOL_VERSION, takes_fragments=True, token=b"",
                 is_silence_loss=False, **security):
        """`is_silence_loss`: the session ends when the robot is silent, as it may seem for a moment
        on a busy machine. `security` is what open_channel() takes."""
        self._channel = open_channel(address, **security)
        self._out = queue.Queue()
        self._lock = threading.Lock()
        self._pending = {}
        self._call_ids = itertools.count(1)
        self._hello = concurrent.futures.Future()
        self._is_over = threading.Event()
        self._is_silence_loss = is_silence_loss
        self._silent = 0
        self.assembler = messages.Assembler()
        self.heartbeats_returned = 0

        self._say(pb.ClientMessage(hello=pb.Hello(
            protocol_version=version, name="python", takes_fragments=takes_fragments, token=token)))
        session = self._channel.stream_stream(
            messages.SESSION, pb.ClientBatch.SerializeToString, pb.ServerBatch.FromString)
        self._answers = session(iter(self._out.get, None))
        threading.Thread(target=self._read, daemon=True).start()
        self.hello = self._hello.result(timeout=messages.PATIENCE)
        threading.Thread(target=self._beat, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Ends the session in order: what was sent before is still taken."""
        self._out.put(None)
        self._is_over.wait(timeout=messages.PATIENCE)
        self._channel.close()

    def wait_for_loss(self, timeout):
        """Whether the session ended within so many seconds."""
        return self._is_over.wait(timeout)

    def call(self, module, method, *arguments):
        future = self.start_call(module, method, *arguments)[1]
        return from_value(future.result(timeout=messages.PATIENCE).value)

    def start_call(self, module, method, *arguments):
        """Calls without waiting. Returns the call's number and its future Result."""
        call_id, future = self._expect_answer()
        call = pb.Call(call_id=call_id, module=module, method=method,
                       arguments=map(to_value, arguments))
        self._say(pb.ClientMessage(call=call))
        return call_id, future

    def post(self, module, method, *arguments):
        self._say(pb.ClientMessage(call=pb.Call(module=module, method=method,
                                                arguments=map(to_value, arguments))))

    def cancel(self, call_id):
        self._say(pb.ClientMessage(cancel=pb.Cancel(call_id=call_id)))

    def list_modules(self, module=""):
        call_id, future = self._expect_answer()
        self._say(pb.ClientMessage(list_modules=pb.ListModules(call_id=call_id, module=module)))
        return list(future.result(timeout=messages.PATIENCE).modules)

    def subscribe(self, module, rate, ids=None):
        """Follows all keys of a module, or those chosen."""
        start = pb.SubscriptionStart(session_id=self.hello.session_id, module=module,
                                     all_keys=ids is None, rate=rate)
        request = pb.SubscriptionRequest(start=start)
        if ids is not None:
            request.keys.ids.extend(ids)
        stream = self._channel.stream_stream(
            messages.SUBSCRIBE, pb.SubscriptionRequest.SerializeToString,
            pb.SubscriptionUpdate.FromString)
        return Subscription(stream, request)

    def watch(self, module, camera):
        """Watches a camera."""
        stream = self._channel.stream_stream(
            messages.WATCH, pb.WatchRequest.SerializeToString, pb.WatchUpdate.FromString)
        start = pb.WatchStart(session_id=self.hello.session_id, module=module, stream=camera)
        return Camera(stream, pb.WatchRequest(start=start))

    def _say(self, message):
        may_cut = self._hello.done() and self.hello.takes_fragments
        # Sent in one go, since the parts of two messages must not be mixed.
        with self._lock:
            for part in messages.in_parts(message) if may_cut else [message]:
                self._out.put(pb.ClientBatch(messages=[part]))

    def _expect_answer(self):
        future = concurrent.futures.Future()
        with self._lock:
            if self._is_over.is_set():
                raise ConnectionLost
            call_id = next(self._call_ids)
            self._pending[call_id] = future
        return call_id, future

    def _read(self):
        try:
            for batch in self._answers:
                self._silent = 0
                for message in batch.messages:
                    whole = self.assembler.take(message)
                    if whole is not None:
                        self._handle(whole)
        except grpc.RpcError as error:
            if not self._hello.done() and messages.DETAILS in dict(error.trailing_metadata()):
                self._hello.set_exception(Refused(error))
        with self._lock:
            self._is_over.set()
            lost = list(self._pending.values())
        if not self._hello.done():
            lost.append(self._hello)
        for future in lost:
            future.set_exception(ConnectionLost())

    def _handle(self, message):
        content = message.WhichOneof("content")
        if content == "hello_reply":
            self._hello.set_result(message.hello_reply)
        elif content == "heartbeat":
            self.heartbeats_returned = message.heartbeat.number
        elif content == "result":
            future = self._take_pending(message.result.call_id)
            if message.result.WhichOneof("outcome") == "error":
                error = message.result.error
                future.set_exception(RemoteError(error.cause, error.text, error.by_method))
            else:
                future.set_result(message.result)
        elif content == "module_list":
            self._take_pending(message.module_list.call_id).set_result(message.module_list)

    def _take_pending(self, call_id):
        with self._lock:
            # An answer without a waiting caller is ignored.
            return self._pending.pop(call_id, concurrent.futures.Future())

    def _beat(self):
        for number in itertools.count(1):
            if self._is_over.wait(messages.HEARTBEAT_PERIOD):
                return
            self._silent += 1
            if self._is_silence_loss and self._silent > SILENT_HEARTBEATS:
                self._answers.cancel()
                return
            self._say(pb.ClientMessage(heartbeat=pb.Heartbeat(number=number)))


def next_of(updates):
    """The next update of a stream, or the reason of its end."""
    try:
        return next(updates)
    except grpc.RpcError as error:
        raise RemoteError.from_end(error) from error


class Subscription:
    """The updates of a subscription, one after the other."""

    def __init__(self, stream, first_request):
        self._requests = queue.Queue()
        self._requests.put(first_request)
        self._updates = stream(iter(self._requests.get, None))
        self._number = 0

    def next(self):
        """The next update; tells the robot that the one before is done with."""
        if self._number != 0:
            self.request(consumed=self._number)
        update = next_of(self._updates)
        if update.number != self._number + 1:
            raise ValueError(f"update {update.number} follows {self._number}")
        self._number = update.number
        return update

    def request(self, **fields):
        self._requests.put(pb.SubscriptionRequest(**fields))

    def close(self):
        self._requests.put(None)
        self._updates.cancel()


class Camera:
    """The frames of a watched camera, one after the other."""

    def __init__(self, stream, first_request):
        self._requests = queue.Queue()
        self._requests.put(first_request)
        self._updates = stream(iter(self._requests.get, None))
        self._received = 0

    def next(self, report=True):
        """Header and bytes of the next frame; tells the robot that it has been received."""
        header = None
        data = b""
        while header is None or len(data) < header.size:
            update = next_of(self._updates)
            if update.HasField("header"):
                header = update.header
            data += update.data
        self._received += 1
        if report:
            self._requests.put(pb.WatchRequest(received=self._received))
        return header, data

    def close(self):
        self._requests.put(None)
        self._updates.cancel()
