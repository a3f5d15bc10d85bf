"""One breakage for each check of `robaxi conform`: what a robot does that breaks the rule."""

from __future__ import annotations

from typing import Any, Dict, NamedTuple, Optional

import grpc

from breaking_proxy import Breakage, Stop, each, never, with_cause, with_code
from robaxi.v1 import robaxi_pb2 as pb

Code = grpc.StatusCode
HUGE = 1 << 40
#: Time-out of `robaxi conform` for robots that are found out since they do not answer.
SOON = 5


class Case(NamedTuple):
    """A robot that is found out by one check."""

    text: str  #: a part of the fault
    breakage: Breakage
    timeout: int = 60


def session(text: str, timeout: int = 60, request: Any = None, reply: Any = None,
            **others: Any) -> Case:
    """A breakage of single messages of a session."""
    return Case(text, Breakage(request=request and each(request), reply=reply and each(reply),
                               **others), timeout)


def stream(method: str, text: str, timeout: int = 60, **changes: Any) -> Case:
    return Case(text, Breakage(method, **changes), timeout)


def subscription(text: str, timeout: int = 60, **changes: Any) -> Case:
    return stream("Subscribe", text, timeout, **changes)


def camera(text: str, timeout: int = 60, **changes: Any) -> Case:
    return stream("Watch", text, timeout, **changes)


def set_field(path: str, value: Any) -> Any:
    """Sets a field such as "hello_reply.session_id" of messages that have what it is a field of."""
    *outer, last = path.split(".")

    def change(_: Any, message: Any) -> None:
        for name in outer:
            if not message.HasField(name):
                return
            message = getattr(message, name)
        if callable(value):
            setattr(message, last, value(getattr(message, last)))
        else:
            setattr(message, last, value)

    return change


def drop(content: str, condition: Any = lambda passage, message: True) -> Any:
    """Drops messages that have a field."""
    return lambda passage, message: \
        [] if message.HasField(content) and condition(passage, message) else None


def answered(method: str, change: Any) -> Any:
    """Changes the results of a method, in place."""

    def change_result(passage: Any, message: Any) -> None:
        call = passage.calls.get(message.result.call_id)
        if message.HasField("result") and call is not None and call.method == method:
            change(message.result)

    return change_result


def called(method: str, change: Any) -> Any:
    """Changes the calls of a method, in place."""

    def change_call(_: Any, message: Any) -> None:
        if message.HasField("call") and message.call.method == method:
            change(message.call)

    return change_call


def accept(result: Any) -> None:
    """Turns an error into a value."""
    if result.HasField("error"):
        result.value.type = pb.Value.NOTHING


def refuse(cause: Any, text: str = "no") -> Any:
    def change(result: Any) -> None:
        result.error.cause = cause
        result.error.text = text
    return change


def echo_if(condition: Any) -> Any:
    """Sends a heartbeat when a request arrives that must not be answered."""

    def change(passage: Any, message: Any) -> None:
        if condition(message):
            passage.say(pb.ServerMessage(heartbeat=pb.Heartbeat(number=77)))

    return change


# --- Session ---------------------------------------------------------------------------------

def second_hello(passage: Any, message: Any) -> None:
    if message.HasField("hello"):
        passage.shared["hellos"] = passage.shared.get("hellos", 0) + 1
        if passage.shared["hellos"] > 1:
            passage.say(pb.ServerMessage(hello_reply=pb.HelloReply(protocol_version=1)))


def hello_before(passage: Any, message: Any) -> Any:
    if not passage.shared.setdefault(passage, message.HasField("hello")):
        passage.shared[passage] = True
        return [pb.ClientMessage(hello=pb.Hello(protocol_version=1)), message]
    return None


def first_of_batch(_: Any, batch: Any) -> None:
    del batch.messages[1:]


def dead_after_garbage(passage: Any, message: Any) -> None:
    if isinstance(message, bytes):
        passage.shared["dead"] = True


def list_twice(_: Any, message: Any) -> None:
    message.module_list.modules.add().CopyFrom(message.module_list.modules[0])


def as_part(_: Any, message: Any) -> Any:
    if message.HasField("module_list"):
        return [pb.ServerMessage(fragment=pb.Fragment(data=message.SerializeToString(), last=True))]
    return None


SESSION = {
    "session.hello": session("session_id is 0", reply=set_field("hello_reply.session_id", 0)),
    "session.version": session("answered instead of ending",
                               request=set_field("hello.protocol_version", 1)),
    "session.first-message": session("answered instead of ending", request=hello_before),
    "session.second-hello": session("answered the second Hello", request=second_hello),
    "session.list": session("listed twice", reply=lambda passage, message: list_twice(
        passage, message) if message.HasField("module_list") else None),
    "session.list-one": session("not answer with the module",
                                request=set_field("list_modules.module", "")),
    "session.list-unknown": session("INTERNAL.* instead of NO_SUCH_MODULE",
                                    reply=set_field("result.error.cause", pb.Error.INTERNAL)),
    "session.list-zero": session(
        "answered it", request=echo_if(lambda message: message.HasField("list_modules"))),
    "session.heartbeat": session("another number",
                                 reply=set_field("heartbeat.number", lambda number: number + 1)),
    "session.heartbeat-while-calling": session(
        "100 and 50 were answered", SOON,
        reply=drop("heartbeat", lambda _, message: 50 < message.heartbeat.number <= 100)),
    "session.batch": Case("Not all messages of the batch", Breakage(request=first_of_batch), SOON),
    "session.empty-batch": Case("answered an empty batch", Breakage(
        request=echo_if(lambda batch: not batch.messages))),
    "session.unknown-content": session(
        "with unknown content", request=echo_if(lambda message: not message.WhichOneof("content"))),
    "session.silence-limit": session("silence_limit is 0",
                                     reply=set_field("hello_reply.silence_limit", 0)),
    "session.sign-of-life": Case("received empty batches", Breakage(
        request=lambda _, batch: None if batch.messages else [])),
    "session.silence": session("did not end the session", SOON, end=never),
    "session.parts": session("instead of answering", request=drop(
        "fragment", lambda _, message: not message.fragment.last)),
    "session.no-parts": session("sent a part", reply=as_part),
    "session.bad-parts": session("did not end the stream", SOON, request=drop("fragment")),
    "session.half-close": session("with status 1\\.", end=with_code(Code.CANCELLED)),
    "session.unreadable": Case("did not end the stream", Breakage(
        request=lambda _, message: [] if isinstance(message, bytes) else None), SOON),
    "session.others": Case("did not return a heartbeat", Breakage(
        request=dead_after_garbage,
        reply=lambda passage, _: [] if passage.shared.get("dead") else None), SOON),
}

# --- Calls -----------------------------------------------------------------------------------


def twice(_: Any, message: Any) -> Any:
    return [message, message] if message.HasField("result") else None


def dead_after_error(passage: Any, message: Any) -> Any:
    if passage.shared.get(passage):
        return []
    passage.shared[passage] = message.HasField("result") and message.result.HasField("error")
    return None


def answer_post(passage: Any, message: Any) -> None:
    if message.HasField("call") and message.call.call_id == 0:
        passage.say(pb.ServerMessage(result=pb.Result(call_id=0)))


def answer_cancel(passage: Any, message: Any) -> None:
    if message.HasField("cancel"):
        passage.say(pb.ServerMessage(result=pb.Result(call_id=message.cancel.call_id)))


def not_serving(_: Any, message: Any) -> Any:
    return [b"\x08\x02"]


def other_services(_: Any, message: Any) -> Any:
    return [message.replace(b"robaxi.v1.Robaxi", b"robaxi.v1.Abcdef")]


def fewer_modules(_: Any, message: Any) -> None:
    del message.modules[0]


def long_details(end: Any) -> Any:
    return end._replace(details=pb.Error(cause=pb.Error.NO_SUCH_MODULE,
                                         text="x" * 2000).SerializeToString())


CALLS = {
    "calls.result": session("more than once", reply=twice),
    "calls.many": session("answered twice", reply=set_field(
        "result.call_id", lambda number: 6 if number == 5 else number)),
    "calls.post": session("answered a post", request=answer_post),
    "calls.unknown-module": session("INTERNAL.* instead of NO_SUCH_MODULE",
                                    reply=set_field("result.error.cause", pb.Error.INTERNAL)),
    "calls.unknown-method": session(
        "NO_SUCH_MODULE.* instead of NO_SUCH_METHOD",
        reply=set_field("result.error.cause", pb.Error.NO_SUCH_MODULE)),
    "calls.session-continues": session("did not return a heartbeat", SOON,
                                       reply=dead_after_error),
    "calls.by-method": session("by_method is set", reply=set_field("result.error.by_method", True)),
    "calls.cancel": session("answered it", request=answer_cancel),
    "calls.alone": stream("Call", "answered with INTERNAL",
                          reply=lambda _, result: refuse(pb.Error.INTERNAL)(result)),
    "calls.alone-unknown-module": stream("Call", "status 13", end=with_code(Code.INTERNAL)),
    "calls.alone-unknown-method": stream("Call", "gave NO_SUCH_MODULE",
                                         end=with_cause(pb.Error.NO_SUCH_MODULE)),
    "calls.list-alone": stream("ListModules", "other modules", reply=fewer_modules),
    "calls.list-alone-unknown": stream("ListModules", "status 0", end=with_code(Code.OK)),
    "calls.details": stream("Call", "has no robaxi-error-bin",
                            end=lambda end: end._replace(details=None)),
    "calls.long-details": stream("Call", "more than 1 KiB", end=long_details),
    "calls.unreadable": stream("Call", "with the status OK", end=with_code(Code.OK)),
    "calls.health": stream("Check", "not answer SERVING", reply=not_serving),
    "calls.health-unknown": stream("Check", "status 0", end=with_code(Code.OK)),
    "calls.health-watch": stream("/grpc.health.v1.Health/Watch", "SERVICE_UNKNOWN",
                                 reply=not_serving),
    "calls.reflection": stream("ServerReflectionInfo", "not list robaxi.v1.Robaxi",
                               reply=other_services),
}

# --- Values ----------------------------------------------------------------------------------


def wrong_type(result: Any) -> None:
    if result.value.type == pb.Value.FLOAT:
        result.value.type = pb.Value.INT


def texts_as_bytes(result: Any) -> None:
    for name in result.value.elements:
        name.bytes_value = name.string_value.encode()


def without_key(result: Any) -> None:
    del result.value.elements[0].keys[0]


def nested(result: Any) -> None:
    value = pb.Value(type=pb.Value.LIST)
    for _ in range(70):
        value = pb.Value(type=pb.Value.LIST, elements=[value])
    result.value.CopyFrom(value)


def accept_all(passage: Any, message: Any) -> None:
    if message.HasField("result"):
        accept(message.result)


def drop_deep(passage: Any, message: Any) -> Any:
    return [] if message.HasField("call") and message.call.arguments[0].elements else None


def unnamed_key(result: Any) -> None:
    result.value.elements.add(type=pb.Value.STRING)


def all_names(call: Any) -> None:
    call.arguments[0].string_value = ""


def write_nothing(call: Any) -> None:
    call.method = "getData"
    del call.arguments[1]


def write_three(call: Any) -> None:
    if call.arguments[1].type == pb.Value.LIST:
        call.arguments[1].CopyFrom(pb.Value(type=pb.Value.FLOAT, float_value=0.3125))


VALUES = {
    "values.types": session("has the field of another", reply=answered("getData", wrong_type)),
    "values.texts": session("is UTF-8 and is sent in bytes_value",
                            reply=answered("getDataList", texts_as_bytes)),
    "values.maps": session("3 keys and 4 elements", reply=answered("getCameras", without_key)),
    "values.depth": session("nested too deep", reply=answered("getData", nested)),
    "values.uneven-map": session("accepted it", reply=accept_all),
    "values.double-key": session("accepted it", reply=accept_all),
    "values.too-deep": session("did not answer", SOON, request=drop_deep),
    "values.unknown-type": session("accepted it", reply=accept_all),
    "values.names": session("name is empty", reply=answered("getDataList", unnamed_key)),
    "values.prefix": session("other names than", request=called("getDataList", all_names)),
    "values.get": session("getData of the listed key",
                          reply=answered("getData", refuse(pb.Error.INTERNAL))),
    "values.unknown-key": session("a value instead of INVALID_ARGUMENT",
                                  reply=answered("getData", accept)),
    "values.error-of-method": session("by_method is not set",
                                      reply=set_field("result.error.by_method", False)),
    "values.wrong-arguments": session(
        "INTERNAL.* instead of WRONG_ARGUMENTS",
        reply=answered("getData", refuse(pb.Error.INTERNAL))),
    "values.write": session("does not have the value", request=called("setData", write_nothing)),
    "values.write-type": session("a value instead of WRONG_TYPE",
                                 reply=answered("setData", accept)),
    "values.write-refused": session(
        "value has changed", request=called("setData", write_three),
        reply=answered("setData", refuse(pb.Error.WRONG_TYPE))),
    "values.write-int": session("refused an int",
                                reply=answered("setData", refuse(pb.Error.WRONG_TYPE))),
    "values.write-unknown": session("a value instead of INVALID_ARGUMENT",
                                    reply=answered("setData", accept)),
}

# --- Subscriptions ---------------------------------------------------------------------------


def flip_session(_: Any, request: Any) -> None:
    if request.HasField("start"):
        request.start.session_id ^= (1 << 64) - 1


def mild_rate(_: Any, request: Any) -> None:
    if request.HasField("start"):
        request.start.rate = 1


def drop_second_start(passage: Any, request: Any) -> Any:
    if not request.HasField("start"):
        return None
    is_second = passage.shared.get(passage, False)
    passage.shared[passage] = True
    return [] if is_second else None


def without_one_value(_: Any, update: Any) -> None:
    if update.values.float_ids:
        del update.values.float_ids[0], update.values.floats[0]
        del update.values.time_offsets[:]


def swapped_keys(_: Any, update: Any) -> None:
    keys = update.keys_added.keys
    if len(keys) > 1:
        keys[0].id, keys[1].id = keys[1].id, keys[0].id


def without_first_key(_: Any, update: Any) -> None:
    if update.keys_added.keys:
        del update.keys_added.keys[0]


def number_values(_: Any, update: Any) -> None:
    update.number += update.HasField("values")


def endless_window(_: Any, request: Any) -> None:
    request.consumed = HUGE


def stop_at(condition: Any) -> Any:
    def change(_: Any, request: Any) -> None:
        if condition(request):
            raise Stop()
    return change


def without_rate(_: Any, request: Any) -> None:
    request.ClearField("rate")


def honour_selection(_: Any, request: Any) -> None:
    if request.HasField("start"):
        request.start.all_keys = False


def int_among_others(_: Any, update: Any) -> None:
    values = update.values
    if values.float_ids:
        values.other_ids.append(values.float_ids.pop())
        values.others.add(type=pb.Value.FLOAT, float_value=values.floats.pop())


def one_offset(_: Any, update: Any) -> None:
    if update.HasField("values"):
        update.values.time_offsets[:] = [1]


def as_text(result: Any) -> None:
    if result.HasField("value"):
        kind = pb.Value.STRING if result.value.type != pb.Value.STRING else pb.Value.BOOL
        result.value.CopyFrom(pb.Value(type=kind))


SUBSCRIPTIONS = {
    "subscriptions.no-start": subscription("status 13", end=with_code(Code.INTERNAL)),
    "subscriptions.silence": subscription("did not end the stream", SOON, end=never),
    "subscriptions.no-session": subscription("did not end the stream", SOON,
                                             request=flip_session),
    "subscriptions.no-module": subscription("gave NO_SUCH_STREAM",
                                            end=with_cause(pb.Error.NO_SUCH_STREAM)),
    "subscriptions.no-values": subscription("status 5", end=with_code(Code.NOT_FOUND)),
    "subscriptions.bad-rate": subscription("did not end the stream", SOON, request=mild_rate),
    "subscriptions.start-twice": subscription("did not end the stream", SOON,
                                              request=drop_second_start),
    "subscriptions.table-first": subscription("first update has no KeysAdded",
                                              reply=drop("keys_added")),
    "subscriptions.values": subscription("values in time, and has", SOON,
                                         request=None, reply=without_one_value),
    "subscriptions.keys": subscription("not above the previous one", reply=swapped_keys),
    "subscriptions.known-keys": subscription("was not in a Key before", reply=without_first_key),
    "subscriptions.numbers": subscription("Update 2 has the number 3", reply=number_values),
    "subscriptions.window": subscription("a third update", request=endless_window),
    "subscriptions.window-moves": subscription("sends no further updates", SOON,
                                               request=set_field("consumed", 0)),
    "subscriptions.selection": subscription("newly selected key did not come", SOON,
                                            request=lambda _, request: request.ClearField("keys")),
    "subscriptions.only-selected": subscription("keys that are not selected",
                                                SOON, request=set_field("start.all_keys", True)),
    "subscriptions.unknown-keys": subscription(
        "ended the stream", request=stop_at(lambda request: request.HasField("keys"))),
    "subscriptions.all-keys": subscription("values in time, and has", SOON,
                                           request=honour_selection),
    "subscriptions.new-rate": subscription(
        "ended the stream", request=stop_at(lambda request: request.HasField("rate"))),
    "subscriptions.bad-new-rate": subscription("did not end the stream", SOON,
                                               request=without_rate),
    "subscriptions.rate": subscription("at a rate of 5", request=set_field("start.rate", 1000.0)),
    "subscriptions.ends-with-session": subscription("did not end the stream", SOON, end=never),
    "subscriptions.half-close": subscription("did not end the stream", SOON, closes=False),
    "subscriptions.packing": subscription("among the other values", reply=int_among_others),
    "subscriptions.times": subscription("1 offsets for", reply=one_offset),
    "subscriptions.same-values": session("another type than that of getData",
                                         reply=answered("getData", as_text)),
}

# --- Cameras ---------------------------------------------------------------------------------


def unnamed_camera(result: Any) -> None:
    for key, value in zip(result.value.elements[0].keys, result.value.elements[0].elements):
        if key == "name":
            value.string_value = ""


def int_rate(result: Any) -> None:
    for key, value in zip(result.value.keys, result.value.elements):
        if key == "rate":
            value.CopyFrom(pb.Value(type=pb.Value.INT, int_value=15))


def large_part(_: Any, update: Any) -> None:
    size = 2 << 20
    update.header.size = size
    update.data = b"x" * size


def data_first(_: Any, update: Any) -> Any:
    data = pb.WatchUpdate(data=update.data).SerializeToString()
    update.ClearField("data")
    return [data + update.SerializeToString()]


CAMERAS = {
    "frames.cameras": session("name is missing", reply=answered("getCameras", unnamed_camera)),
    "frames.settings": session("incomplete or of other types",
                               reply=answered("getSettings", int_rate)),
    "frames.unknown-camera": session("INTERNAL.* instead of INVALID_ARGUMENT",
                                     reply=answered("getSettings", refuse(pb.Error.INTERNAL))),
    "frames.no-start": camera("status 13", end=with_code(Code.INTERNAL)),
    "frames.no-session": camera("did not end the stream", SOON, request=flip_session),
    "frames.no-module": camera("status 13", end=with_code(Code.INTERNAL)),
    "frames.no-camera": camera("gave NO_SUCH_MODULE", end=with_cause(pb.Error.NO_SUCH_MODULE)),
    "frames.start-twice": camera("did not end the stream", SOON, request=drop_second_start),
    "frames.whole": camera("before the previous one is complete",
                           reply=set_field("header.size", lambda size: size + 1)),
    "frames.newer": camera("Frame 1 follows frame 1", reply=set_field("header.number", 1)),
    "frames.parts": camera("2097152 bytes", reply=large_part),
    "frames.header-first": camera("header does not precede", reply=data_first),
    "frames.window": camera("3 frames before", request=set_field("received", HUGE)),
    "frames.window-moves": camera("no frame after two", SOON, request=set_field("received", 0)),
    "frames.fields": camera("its stride is not 0", reply=set_field("header.stride", 1)),
    "frames.ends-with-session": camera("did not end the stream", SOON, end=never),
    "frames.half-close": camera("did not end the stream", SOON, closes=False),
}

# --- Limits and security ---------------------------------------------------------------------

GRPC_LIMIT = 4 << 20


def drop_large(_: Any, batch: Any) -> Any:
    return [] if batch.ByteSize() > 16 << 20 else None


LIMITS = {
    "limits.large-call": Case("instead of answering", Breakage(receive_limit=GRPC_LIMIT)),
    "limits.large-call-alone": Case("status 8 instead of NOT_FOUND",
                                    Breakage(receive_limit=GRPC_LIMIT)),
    "limits.too-large": Case("did not end the stream", Breakage(request=drop_large), SOON),
    "limits.parts-too-large": session("did not end the stream", SOON, request=drop("fragment")),
    "limits.waiting-calls": session("1 of 1500 calls were not answered", SOON, reply=drop(
        "result", lambda _, message: message.result.call_id == 1200)),
    "limits.subscriptions": subscription("gave NO_SUCH_MODULE",
                                         end=with_cause(pb.Error.NO_SUCH_MODULE)),
    "limits.cameras": camera("status 13", end=with_code(Code.INTERNAL)),
}

TOKEN = "the token of the test"


def right_token(_: Any, message: Any) -> None:
    if message.HasField("hello"):
        message.hello.token = TOKEN.encode()


def right_bearer(_: Dict[str, str]) -> Dict[str, str]:
    return {"authorization": "Bearer " + TOKEN}


def near_session(passage: Any, message: Any) -> None:
    if message.HasField("hello_reply"):
        passage.shared["sessions"] = passage.shared.get("sessions", 0) + 1
        message.hello_reply.session_id = passage.shared["sessions"]


#: With a robot that requires a token.
TOKENS = {
    "security.token-missing": session("did not end the stream", SOON, request=right_token),
    "security.token-wrong": session("did not end the stream", SOON, request=right_token),
    "security.version-first": session("status 16 instead of FAILED_PRECONDITION",
                                      request=set_field("hello.protocol_version", 1)),
    "security.bearer-missing": stream("Call", "status 5 instead of UNAUTHENTICATED",
                                      metadata=right_bearer),
    "security.bearer-wrong": stream("Call", "status 5 instead of UNAUTHENTICATED",
                                    metadata=right_bearer),
    "security.session-ids": session("close to each other", reply=near_session),
}

# --- Resuming --------------------------------------------------------------------------------


def number_all(_: Any, batch: Any) -> None:
    batch.number = 1


def number_higher(_: Any, batch: Any) -> None:
    batch.number += batch.number > 0


def number_heartbeats(_: Any, batch: Any) -> None:
    if all(message.HasField("heartbeat") for message in batch.messages):
        batch.number = 1


def number_anew(passage: Any, batch: Any) -> None:
    if batch.number:
        passage.shared[passage] = batch.number = passage.shared.get(passage, 0) + 1


def forget_copies(passage: Any, batch: Any) -> Any:
    seen = passage.shared.setdefault("seen", set())
    is_copy = batch.number in seen
    seen.update([batch.number] if batch.number else [])
    return [] if is_copy else None


def one_name(_: Any, message: Any) -> None:
    if message.HasField("hello"):
        message.hello.name = "one name"


def count_attempts(passage: Any, message: Any) -> None:
    if message.HasField("hello") and message.hello.HasField("resume"):
        passage.shared["attempts"] = passage.shared.get("attempts", 10) + 1
        message.hello.resume.resumption = passage.shared["attempts"]


def dead_after_attempt(passage: Any, message: Any) -> None:
    if message.HasField("hello") and message.hello.HasField("resume"):
        passage.shared["dead"] = True


def new_start(_: Any, request: Any) -> None:
    if request.HasField("start"):  # which changing a field of it would set
        request.start.ClearField("known")


def from_the_beginning(_: Any, request: Any) -> None:
    if request.start.HasField("known"):
        request.start.known.position = 0


def nothing_new(_: Any, request: Any) -> None:
    if request.start.HasField("known"):
        request.start.known.with_values[:] = request.keys.ids


def one_less(_: Any, request: Any) -> None:
    if request.start.HasField("known"):
        request.start.known.keys -= 1


def right_table(_: Any, request: Any) -> None:
    if request.start.HasField("known"):
        request.start.known.table ^= (1 << 64) - 1


RESUMING = {
    "resuming.both": Case("cannot be resumed", Breakage(reply=number_all)),
    "resuming.numbers": Case("Batch 1 has the number 2", Breakage(reply=number_higher)),
    "resuming.no-number": Case("heartbeat only has a number", Breakage(reply=number_heartbeats)),
    "resuming.received": session("received is 0 after 2",
                                 reply=set_field("heartbeat.received", 0)),
    "resuming.dropped": session("did not end the stream", SOON,
                                request=set_field("heartbeat.received", 0)),
    "resuming.repeated": Case("in a repeated batch", Breakage(request=number_anew)),
    "resuming.left-out": Case("did not end the stream", Breakage(request=number_anew), SOON),
    "resuming.reply": session("received is 0 after 2",
                              reply=set_field("hello_reply.received", 0)),
    "resuming.copies": Case("did not repeat", Breakage(reply=forget_copies), SOON),
    "resuming.former": session("did not end the stream", SOON, end=never),
    "resuming.former-streams": subscription("did not end the stream", SOON, end=never),
    "resuming.other-number": subscription("did not end the stream", SOON,
                                          request=set_field("start.resumption", 1)),
    "resuming.no-session": session("gave TOO_MANY", end=with_cause(pb.Error.TOO_MANY)),
    "resuming.other-name": session("did not end the stream", SOON, request=one_name),
    "resuming.not-above": session("did not end the stream", SOON, request=count_attempts),
    "resuming.unaffected": session(
        "did not answer in time", SOON, request=dead_after_attempt,
        reply=lambda passage, _: [] if passage.shared.get("dead") else None),
    "resuming.version": session("status 0 instead of|did not end the stream|NOT_AUTHORISED", SOON,
                                request=set_field("hello.protocol_version", 1)),
    "resuming.known-keys": subscription("a known key again", request=new_start),
    "resuming.known-values": subscription("again that has not changed",
                                          request=from_the_beginning),
    "resuming.newly-selected": subscription("newly selected values", SOON, request=nothing_new),
    "resuming.present-keys": subscription("no keys_present", SOON, request=one_less),
    "resuming.other-table": subscription("no empty keys_present", SOON, request=right_table),
}

#: The robot accepts plain connections, too (plain_and_tls.py).
TLS = {"security.tls-only": Case("answered without TLS", Breakage())}
