// The test host comes with the host boundary.
