// Nothing but the headers that are precompiled with it for the test programs.
