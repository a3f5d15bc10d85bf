"""A client that knows nothing of Robaxi: it finds services and messages by reflection."""

import grpc
import reflection_pb2 as reflection
from google.protobuf import descriptor_pb2, descriptor_pool, json_format, message_factory

from messages import PATIENCE

REFLECTION = "/grpc.reflection.v1alpha.ServerReflection/ServerReflectionInfo"


class NotFound(Exception):
    """The server describes nothing of that name."""


class GenericClient:
    """Calls methods with messages as dictionaries, as in JSON."""

    def __init__(self, channel, token=None):
        self._channel = channel
        self._pool = descriptor_pool.DescriptorPool()
        self._files = set()
        self._metadata = [] if token is None else [("authorization", f"Bearer {token}")]

    def services(self):
        answer = self._reflect(list_services="*")
        return [service.name for service in answer.list_services_response.service]

    def unary(self, service, method, request=None):
        """The response of a method with one request and one response."""
        call, message = self._prepare(service, method, request, self._channel.unary_unary)
        return json_format.MessageToDict(call(message, **self._options()))

    def stream(self, service, method, request=None):
        """The running call of a method with many responses, and how to read one of them."""
        call, message = self._prepare(service, method, request, self._channel.unary_stream)
        return call(message, **self._options())

    def learn(self, service):
        """Learns the messages of a service, which a call does by itself."""
        self._learn(self._file(file_containing_symbol=service))

    def message(self, name, data):
        return json_format.MessageToDict(self._class(name).FromString(data))

    def encode(self, name, content):
        return json_format.ParseDict(content, self._class(name)()).SerializeToString()

    def _options(self):
        return {"metadata": self._metadata, "timeout": PATIENCE}

    def _prepare(self, service, method, request, kind):
        self.learn(service)
        described = self._pool.FindServiceByName(service).FindMethodByName(method)
        question = self._class(described.input_type.full_name)
        answer = self._class(described.output_type.full_name)
        call = kind(f"/{service}/{method}", question.SerializeToString, answer.FromString)
        return call, json_format.ParseDict(request or {}, question())

    def _class(self, name):
        return message_factory.MessageFactory(self._pool).GetPrototype(
            self._pool.FindMessageTypeByName(name))

    def _file(self, **question):
        [data] = self._reflect(**question).file_descriptor_response.file_descriptor_proto
        return descriptor_pb2.FileDescriptorProto.FromString(data)

    def _learn(self, file):
        if file.name not in self._files:
            self._files.add(file.name)
            for name in file.dependency:
                self._learn(self._file(file_by_filename=name))
            self._pool.Add(file)

    def _reflect(self, **question):
        stream = self._channel.stream_stream(
            REFLECTION, reflection.ServerReflectionRequest.SerializeToString,
            reflection.ServerReflectionResponse.FromString)
        [answer] = stream(iter([reflection.ServerReflectionRequest(**question)]), **self._options())
        if answer.HasField("error_response"):
            raise NotFound(answer.error_response.error_message)
        return answer
