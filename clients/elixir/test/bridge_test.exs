defmodule VkSony.BridgeTest do
  # Drives the real vk-sony against the simulated camera, as the parent does.
  use ExUnit.Case, async: true

  alias VkSony.Bridge
  alias VkSony.Bridge.Exit
  alias VkSony.Line.Status
  import VkSony.TestSim

  @camera "USB|ILME-FX6|D10042"
  @scenario """
  camera USB ILME-FX6 D10042
  property 0x729 UInt32 800 rw 400 800 1600
  property 0x115 UInt16 5600 rw
  lv-property 0x1 3600
  fail set 0x115 0x8402
  """
  @wait 10_000

  defp start(scenario, args \\ [@camera]) do
    dir = scratch_dir()
    env = env(dir, scenario)
    {:ok, bridge} = Bridge.start_link(executable: executable(), args: args, env: env)
    {bridge, Path.join(dir, "camera.control")}
  end

  defp exit_of(bridge),
    do: assert_receive({:vk_sony, ^bridge, {:exit, %Exit{} = exit}}, @wait) && exit

  test "commands are answered in order; answers go to the caller, the rest to the owner" do
    {bridge, _} = start(@scenario)
    # Held until READY.
    assert {:ok, %Status{key: "ISO_SENSITIVITY", value: "800"}} =
             Bridge.get(bridge, "ISO_SENSITIVITY")

    assert_received {:vk_sony, ^bridge, :ready}
    assert %{"WB" => %Status{value: "5600", discrete?: false}} = Bridge.properties(bridge)

    for {call, answer} <- [
          {fn -> Bridge.set(bridge, "ISO_SENSITIVITY", 1600) end, :ok},
          {fn -> Bridge.set(bridge, "WB", 3200) end, {:error, :nack}},
          {fn -> Bridge.get(bridge, "NO_SUCH_KEY") end, {:error, :nack}},
          {fn -> Bridge.set(bridge, "NO_SUCH_KEY", 1) end, {:error, :nack}},
          {fn -> Bridge.set(bridge, "ISO_SENSITIVITY", "abc") end, {:error, :nack}},
          {fn -> Bridge.get(bridge, "MENU") end, :ok},
          {fn -> Bridge.command(bridge, "bogus") end, {:error, :nack}},
          {fn -> Bridge.set(bridge, "WB", "32 00") end, {:error, :blank_in_word}},
          {fn -> Bridge.command(bridge, "get TC\nRESET") end, {:error, :newline}}
        ] do
      assert call.() == answer
    end

    # The camera's report of the write is an event; the answers are not.
    assert_receive {:vk_sony, ^bridge, {:status, %Status{key: "ISO_SENSITIVITY", value: "1600"}}},
                   @wait

    assert {:ok, %Status{value: "1600", writable?: true}} = Bridge.get(bridge, "ISO_SENSITIVITY")
    refute_received {:vk_sony, ^bridge, :ack}
    refute_received {:vk_sony, ^bridge, :nack}

    os_pid = Bridge.os_pid(bridge)
    :ok = Bridge.close(bridge)
    assert eventually(fn -> not File.exists?("/proc/#{os_pid}") end)
    assert Bridge.set(bridge, "ISO_SENSITIVITY", 400) == {:error, :closed}
    refute_received {:vk_sony, ^bridge, {:exit, _}}
  end

  test "get TC returns the time code line, which arrives with the next flushed line" do
    {bridge, _} = start(@scenario)
    :ok = Bridge.await_ready(bridge, @wait)
    task = Task.async(fn -> Bridge.get(bridge, "TC") end)
    # Sent (and waiting for its line), or already answered.
    eventually(fn ->
      not :queue.is_empty(:sys.get_state(bridge).timecode) or Process.info(task.pid) == nil
    end)

    assert Bridge.set(bridge, "ISO_SENSITIVITY", 400) == :ok
    assert {:ok, %Status{key: "TC", value: "3600", writable?: false}} = Task.await(task)
  end

  test "a late answer after a deadline is not taken for the next command's" do
    {bridge, _} = start(String.replace(@scenario, "fail set", "confirm 1500\nfail set"))
    :ok = Bridge.await_ready(bridge, @wait)
    assert Bridge.set(bridge, "ISO_SENSITIVITY", 1600, 100) == {:error, :timeout}
    # The late ACK belongs to the timed-out write.
    assert Bridge.set(bridge, "WB", 3200, @wait) == {:error, :nack}

    assert_receive {:vk_sony, ^bridge, {:status, %Status{key: "ISO_SENSITIVITY", value: "1600"}}},
                   @wait

    assert {:ok, %Status{value: "1600"}} = Bridge.get(bridge, "ISO_SENSITIVITY", @wait)
  end

  test "a camera that goes away: the waiting call ends, later calls get :closed, the owner the cause" do
    {bridge, control} = start(String.replace(@scenario, "fail set", "confirm never\nfail set"))
    :ok = Bridge.await_ready(bridge, @wait)
    waiting = Task.async(fn -> Bridge.set(bridge, "ISO_SENSITIVITY", 1600, @wait) end)
    eventually(fn -> not :queue.is_empty(:sys.get_state(bridge).sent) end)
    File.write!(control, "disconnect 0x8207\n")

    # The bridge answers a write it was waiting on NACK as its run ends; a
    # bridge that ends without answering leaves the call :closed.
    assert Task.await(waiting, @wait) in [{:error, :nack}, {:error, :closed}]
    assert %Exit{status: 1, cause: :disconnected} = exit_of(bridge)
    assert_received {:vk_sony, ^bridge, :disconnected}
    assert Bridge.get(bridge, "ISO_SENSITIVITY") == {:error, :closed}
  end

  test "a bridge that cannot start: its standard error comes with the cause" do
    dir = scratch_dir()
    missing = Path.join(dir, "missing.scenario")
    env = [{"VK_SONY_SIM_SCENARIO", missing}, {"VK_SONY_LOG", false}]
    {:ok, bridge} = Bridge.start_link(executable: executable(), args: [@camera], env: env)

    assert Bridge.await_ready(bridge, @wait) == {:error, :closed}
    assert %Exit{status: 1, cause: :start_failed, stderr: stderr} = exit_of(bridge)
    assert stderr =~ "vk-sony simulator: #{missing}: No such file or directory"
  end
end
