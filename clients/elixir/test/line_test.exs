defmodule VkSony.LineTest do
  use ExUnit.Case, async: true

  alias VkSony.Line
  alias VkSony.Line.Status

  test "lifecycle and reply lines" do
    for {line, event} <- [
          {"CONNECTED", :connected},
          {"READY", :ready},
          {"ACK", :ack},
          {"NACK", :nack},
          {"DISCONNECTED", :disconnected},
          {"CLOSED", :closed},
          {"END - elixir_handler_stdin", :input_closed},
          {"status DOWNLOAD done", :download_done},
          {"ACK ", {:other, "ACK "}},
          {"get prop failed", {:other, "get prop failed"}},
          {"\t\tsetProperty failed storage", {:other, "\t\tsetProperty failed storage"}}
        ] do
      assert Line.parse(line) == event, "line #{inspect(line)}"
    end
  end

  test "property status lines" do
    for {line, key, value, candidates, discrete?, writable?} <- [
          {"status ISO_SENSITIVITY 800 [400 800 1600] RW", "ISO_SENSITIVITY", "800",
           ["400", "800", "1600"], true, true},
          {"status WB 5600 {5600} RW", "WB", "5600", ["5600"], false, true},
          {"status TC 3600 [3600] RO", "TC", "3600", ["3600"], true, false},
          {"status EXPOSURE_BIAS -1.3 [-1.3] RO", "EXPOSURE_BIAS", "-1.3", ["-1.3"], true, false},
          # A text value with a blank, and an empty one.
          {"status MODEL_NAME A B [A B] RO", "MODEL_NAME", "A B", ["A", "B"], true, false},
          {"status SOFTWARE  [] RO", "SOFTWARE", "", [], true, false}
        ] do
      assert Line.parse(line) ==
               {:status,
                %Status{
                  key: key,
                  value: value,
                  candidates: candidates,
                  discrete?: discrete?,
                  writable?: writable?
                }},
             "line #{inspect(line)}"
    end
  end

  test "status lines that do not follow the shape stay whole" do
    for line <- [
          "status ISO 800 [400 800] XX",
          "status ISO 800 RW",
          "status  [1] RW",
          "status ISO"
        ] do
      assert Line.parse(line) == {:other, line}
    end
  end
end
