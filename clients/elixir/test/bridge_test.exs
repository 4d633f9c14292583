defmodule VkSony.BridgeTest do
  # Drives the real vk-sony against the simulated camera, as the parent does.
  use ExUnit.Case, async: true

  alias VkSony.Bridge
  alias VkSony.Line.Status

  @camera "USB|ILME-FX6|D10042"
  @scenario """
  camera USB ILME-FX6 D10042
  property 0x729 UInt32 800 rw 400 800 1600
  property 0x115 UInt16 5600 rw
  lv-property 0x1 3600
  fail set 0x115 0x8402
  """
  @wait 10_000

  setup context do
    executable =
      System.get_env("VK_SONY_BINARY") || flunk("set VK_SONY_BINARY to the vk-sony to test")

    dir = Path.join(System.tmp_dir!(), "vk-sony-client-#{System.unique_integer([:positive])}")
    File.mkdir_p!(dir)
    on_exit(fn -> File.rm_rf!(dir) end)
    scenario = Path.join(dir, "camera.scenario")
    File.write!(scenario, @scenario)
    control = Path.join(dir, "control")

    env = [
      {"VK_SONY_SIM_SCENARIO", scenario},
      {"VK_SONY_SIM_CONTROL", control},
      {"VK_SONY_SIM_TRACE", false},
      {"VK_SONY_LOG", false}
    ]

    {:ok, bridge} = Bridge.start_link(executable: executable, args: [@camera], env: env)
    Map.merge(context, %{bridge: bridge, control: control})
  end

  defp next(bridge), do: assert_receive({:vk_sony, ^bridge, event}, @wait) && event

  # Events up to and including `wanted`, which must come.
  defp until(bridge, wanted, seen \\ []) do
    case next(bridge) do
      ^wanted ->
        Enum.reverse([wanted | seen])

      {:exit_status, _} = ended ->
        flunk("ended (#{inspect(ended)}) before #{inspect(wanted)}: #{inspect(seen)}")

      event ->
        until(bridge, wanted, [event | seen])
    end
  end

  defp wait_until_gone(os_pid, deadline_ms) do
    cond do
      not File.exists?("/proc/#{os_pid}") -> :gone
      deadline_ms <= 0 -> :still_running
      true -> Process.sleep(20) && wait_until_gone(os_pid, deadline_ms - 20)
    end
  end

  test "a run: properties, set, refused set, MENU, TC, then the port is closed", %{bridge: bridge} do
    assert next(bridge) == :connected
    startup = until(bridge, :ready)

    assert {:status,
            %Status{key: "ISO_SENSITIVITY", value: "800", candidates: ["400", "800", "1600"]}} =
             Enum.find(startup, &match?({:status, %Status{key: "ISO_SENSITIVITY"}}, &1))

    assert %{
             "ISO_SENSITIVITY" => %Status{writable?: true, discrete?: true},
             "WB" => %Status{value: "5600"}
           } = Bridge.properties(bridge)

    :ok = Bridge.set(bridge, "ISO_SENSITIVITY", 1600)
    assert next(bridge) == :ack

    assert {:status, %Status{key: "ISO_SENSITIVITY", value: "1600", writable?: true}} =
             next(bridge)

    assert Bridge.properties(bridge)["ISO_SENSITIVITY"].value == "1600"

    :ok = Bridge.set(bridge, "WB", 3200)
    assert next(bridge) == :nack
    assert {:error, :blank_in_word} = Bridge.set(bridge, "WB", "32 00")
    assert {:error, :newline} = Bridge.command(bridge, "get TC\nRESET")

    # The time code line is written raw: it arrives with the next flushed
    # line, here the ACK of the menu request.
    :ok = Bridge.get(bridge, "TC")
    :ok = Bridge.get(bridge, "MENU")
    assert {:status, %Status{key: "TC", value: "3600", writable?: false}} = next(bridge)
    assert next(bridge) == :ack

    os_pid = Bridge.os_pid(bridge)
    ref = Process.monitor(bridge)
    :ok = Bridge.close(bridge)
    assert_receive {:DOWN, ^ref, :process, _, :normal}, @wait
    assert wait_until_gone(os_pid, @wait) == :gone
    refute_received {:vk_sony, ^bridge, {:exit_status, _}}
  end

  test "a camera that goes away: DISCONNECTED, CLOSED, exit status 1", %{
    bridge: bridge,
    control: control
  } do
    until(bridge, :ready)
    # The simulator holds the control FIFO open for reading while connected.
    File.write!(control, "disconnect 0x8207\n")

    rest = until(bridge, {:exit_status, 1})
    assert Enum.take(rest, 1) == [:disconnected]
    assert Enum.sort(Enum.slice(rest, 1..-2//1)) == [:closed, :input_closed]
  end
end
