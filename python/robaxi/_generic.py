"""The services of gRPC that generic clients expect of a robot: health and reflection."""

from __future__ import annotations

import asyncio
import pkgutil
from typing import TYPE_CHECKING, Any, AsyncIterator, Callable, List

import grpc
from google.protobuf import descriptor_pb2, descriptor_pool, message_factory

if TYPE_CHECKING:
    from ._service import Service

_HEALTH = "grpc.health.v1."
_REFLECTION = "grpc.reflection.v1alpha."


class _Descriptors:
    """The definitions of all services, which protoc has written into a file.

    They are in a separate pool, since programs may import other definitions of the same names.
    """

    def __init__(self) -> None:
        files = descriptor_pb2.FileDescriptorSet.FromString(
            pkgutil.get_data("robaxi.v1", "services.bin"))
        self._pool = descriptor_pool.DescriptorPool()
        for file in files.file:
            self._pool.Add(file)
        self.services = [f"{file.package}.{service.name}"
                         for file in files.file for service in file.service]

    def message(self, name: str) -> Any:
        """The class of a message."""
        descriptor = self._pool.FindMessageTypeByName(name)
        # Which of the two exists depends on the version of protobuf.
        if hasattr(message_factory, "GetMessageClass"):
            return message_factory.GetMessageClass(descriptor)
        return message_factory.MessageFactory(self._pool).GetPrototype(descriptor)

    def file(self, name: str) -> bytes:
        """The definitions in a file. Raises KeyError."""
        file: bytes = self._pool.FindFileByName(name).serialized_pb
        return file

    def file_with(self, symbol: str) -> bytes:
        """The definitions in the file with a symbol. Raises KeyError."""
        try:
            file: bytes = self._pool.FindFileContainingSymbol(symbol).serialized_pb
        except KeyError:  # not every version of protobuf finds methods
            service, _, method = symbol.rpartition(".")
            found = self._pool.FindServiceByName(service)
            if method not in found.methods_by_name:
                raise
            file = found.file.serialized_pb
        return file


def handlers(service: Service) -> List[Any]:
    """Handlers of gRPC for these services. Limits and token are those of the robot's service."""
    descriptors = _Descriptors()
    return [_health_handler(service, descriptors), _reflection_handler(service, descriptors)]


def _health_handler(service: Service, descriptors: _Descriptors) -> Any:
    request = descriptors.message(_HEALTH + "HealthCheckRequest")
    response = descriptors.message(_HEALTH + "HealthCheckResponse")

    def is_served(name: str) -> bool:
        return not name or name in descriptors.services

    async def check(question: Any, context: Any) -> Any:
        async with service.admitted(context, question):
            if is_served(question.service):
                return response(status=response.SERVING)
            await context.abort(grpc.StatusCode.NOT_FOUND, "there is no service of that name")

    async def watch(question: Any, context: Any) -> AsyncIterator[Any]:
        async with service.admitted(context, question):
            # The state does not change: the stream ends with its client.
            yield response(status=response.SERVING if is_served(question.service)
                           else response.SERVICE_UNKNOWN)
            await asyncio.Event().wait()

    return grpc.method_handlers_generic_handler(_HEALTH + "Health", {
        "Check": grpc.unary_unary_rpc_method_handler(
            check, request.FromString, response.SerializeToString),
        "Watch": grpc.unary_stream_rpc_method_handler(
            watch, request.FromString, response.SerializeToString)})


def _reflection_handler(service: Service, descriptors: _Descriptors) -> Any:
    request = descriptors.message(_REFLECTION + "ServerReflectionRequest")
    response = descriptors.message(_REFLECTION + "ServerReflectionResponse")

    def set_error(reply: Any, code: grpc.StatusCode, text: str) -> None:
        reply.error_response.error_code = code.value[0]
        reply.error_response.error_message = text

    def answer(question: Any) -> Any:
        reply = response(valid_host=question.host, original_request=question)

        def set_file(find: Callable[[str], bytes], name: str) -> None:
            try:
                reply.file_descriptor_response.file_descriptor_proto.append(find(name))
            except KeyError:
                set_error(reply, grpc.StatusCode.NOT_FOUND, "there is nothing of that name")

        content = question.WhichOneof("message_request")
        if content == "file_by_filename":
            set_file(descriptors.file, question.file_by_filename)
        elif content == "file_containing_symbol":
            set_file(descriptors.file_with, question.file_containing_symbol)
        elif content == "list_services":
            for name in descriptors.services:
                reply.list_services_response.service.add(name=name)
        elif content is None:
            set_error(reply, grpc.StatusCode.INVALID_ARGUMENT, "the request has no content")
        else:
            set_error(reply, grpc.StatusCode.NOT_FOUND, "there are no extensions")
        return reply

    async def reflect(questions: AsyncIterator[Any], context: Any) -> AsyncIterator[Any]:
        async with service.admitted(context):
            async for question in questions:
                yield answer(question)

    return grpc.method_handlers_generic_handler(_REFLECTION + "ServerReflection", {
        "ServerReflectionInfo": grpc.stream_stream_rpc_method_handler(
            reflect, request.FromString, response.SerializeToString)})
