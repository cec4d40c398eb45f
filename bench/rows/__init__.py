"""The measurements of the service, one module each. A measurement gives numbers; what they are compared with and
what is wanted of them stands in the plan."""
