"""The messages of the protocol, generated from robaxi.proto."""
